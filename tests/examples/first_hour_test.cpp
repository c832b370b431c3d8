#include <gtest/gtest.h>

#include <fstream>

#include "sandbox/sandbox.hpp"
#include "support/temporary_folder.hpp"
#include "tools/zavelo/demo/child_process.hpp"

// The app of the guide beside the sandbox, with somebody else in the channel.

namespace zavelo::command {
namespace {

class FirstHour : public testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(folder_ / "seed.json") << R"({
      "members": [{"zaveloId": "ann", "displayName": "Ann", "password": "secret"},
                  {"zaveloId": "bob", "displayName": "Bob", "password": "secret"}],
      "streams": [{"owner": "bob", "slug": "soup", "streamTitle": "Soup", "tagId": 1}]})";
    auto sandbox = sandbox::Sandbox::start(
        {.port = 0, .state = {}, .seed = folder_ / "seed.json", .brokerPort = 0});
    ASSERT_TRUE(sandbox) << sandbox.error();
    sandbox_ = std::move(*sandbox);
  }

  [[nodiscard]] std::unique_ptr<ChildProcess> startApp(const std::string& password) const {
    return start("/bin/sh", {"-c", "cd \"$1\" && shift && exec \"$@\"", "sh",
                             (folder_ / "").string(), ZAVELO_FIRST_HOUR, sandbox_->url(),
                             sandbox_->rtmUrl().value_or(""), "ann", password, "soup"});
  }
  void bob(std::vector<std::string> arguments, const std::string& input = {}) const {
    arguments.insert(arguments.end(),
                     {"--api", sandbox_->url(), "--store", (folder_ / "bob.sqlite").string(),
                      "--rtm", sandbox_->rtmUrl().value_or("")});
    const auto command = start(ZAVELO_COMMAND, arguments);
    command->write(input);
    const auto outcome = command->wait();
    ASSERT_EQ(outcome.status, 0) << outcome.error;
  }
  static std::unique_ptr<ChildProcess> start(const std::string& program,
                                             const std::vector<std::string>& arguments) {
    auto child = ChildProcess::start(program, arguments);
    EXPECT_TRUE(child) << child.error();
    return std::move(*child);
  }

  test::TemporaryFolder folder_;
  std::unique_ptr<sandbox::Sandbox> sandbox_;
};

TEST_F(FirstHour, PrintsWhatOthersSayUntilTheStreamEnds) {
  const auto app = startApp("secret");
  ASSERT_EQ(app->nextLine(), "in soup");
  bob({"user", "login", "--zavelo-id", "bob", "--password", "-"}, "secret\n");
  bob({"chat", "send", "--channel", "soup", "--message", "hello"});
  EXPECT_EQ(app->nextLine(), "Bob: hello");
  bob({"chat", "send", "--channel", "soup", "--type", "hostStreamEnd"});
  const auto outcome = app->wait();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, "");
}

TEST_F(FirstHour, SaysWhyItCannotSignIn) {
  const auto outcome = startApp("wrong")->wait();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.error.find("first_hour: "), std::string::npos) << outcome.error;
}

}  // namespace
}  // namespace zavelo::command

#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sandbox/sandbox.hpp"
#include "support/temporary_folder.hpp"
#include "tools/zavelo/demo/child_process.hpp"

namespace zavelo::command {

/// The apps of the guides beside the sandbox, with another user in the channel.
class FirstHour : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(folder_ / "seed.json") << R"({
      "members": [{"zaveloId": "ann", "displayName": "Ann", "password": "secret"},
                  {"zaveloId": "bob", "displayName": "Bob", "password": "secret"}],
      "streams": [{"owner": "bob", "slug": "soup", "streamTitle": "Soup", "tagId": 1, "status": "live"}]})";
    auto sandbox = sandbox::Sandbox::start(
        {.port = 0, .state = {}, .seed = folder_ / "seed.json", .brokerPort = 0});
    ASSERT_TRUE(sandbox) << sandbox.error();
    sandbox_ = std::move(*sandbox);
    rtm_ = sandbox_->rtmUrl().value_or("");
  }

  [[nodiscard]] std::unique_ptr<ChildProcess> startApp(const std::string& password,
                                                       const std::string& app = ZAVELO_FIRST_HOUR,
                                                       const std::string& user = "ann",
                                                       const std::string& place = "soup") const {
    return start("/bin/sh",
                 {"-c", "cd \"$1\" && shift && XDG_DATA_HOME=. HOME=. exec \"$@\"", "sh",
                  (folder_ / "").string(), app, sandbox_->url(), rtm_, user, password, place});
  }
  [[nodiscard]] std::unique_ptr<ChildProcess> startBob(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--api", sandbox_->url(), "--store",
                                       (folder_ / "bob.sqlite").string(), "--rtm", rtm_});
    return start(ZAVELO_COMMAND, arguments);
  }
  void bob(std::vector<std::string> arguments, const std::string& input = {}) const {
    const auto command = startBob(std::move(arguments));
    command->write(input);
    const auto outcome = command->wait();
    ASSERT_EQ(outcome.status, 0) << outcome.error;
  }
  void logBobIn() const {
    bob({"user", "login", "--zavelo-id", "bob", "--password", "-"}, "secret\n");
  }
  static std::unique_ptr<ChildProcess> start(const std::string& program,
                                             const std::vector<std::string>& arguments) {
    auto child = ChildProcess::start(program, arguments);
    EXPECT_TRUE(child) << child.error();
    return std::move(*child);
  }

  test::TemporaryFolder folder_;
  std::unique_ptr<sandbox::Sandbox> sandbox_;
  std::string rtm_;
};

}  // namespace zavelo::command

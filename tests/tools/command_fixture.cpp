#include "tests/tools/command_fixture.hpp"

#include <cstdlib>
#include <future>

#include "zavelo/json/json.hpp"
#include "zavelo/platform/curl_http_session.hpp"

namespace zavelo::command {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zavelo-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no folder " << pattern;
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::unique_ptr<ChildProcess> startCommand(const std::vector<std::string>& arguments,
                                           const std::string& input) {
  auto child = ChildProcess::start(ZAVELO_COMMAND, arguments, input);
  EXPECT_TRUE(child) << child.error();
  return std::move(*child);
}

ChildOutcome runCommand(const std::vector<std::string>& arguments, const std::string& input) {
  return startCommand(arguments, input)->wait();
}

ChildOutcome runShell(const std::string& line) {
  auto child = ChildProcess::start("/bin/sh", {"-c", line, ZAVELO_COMMAND});
  EXPECT_TRUE(child) << child.error();
  return (*child)->wait();
}

json::Value jsonLine(const std::string& text) {
  EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
  auto value = json::decode<json::Value>(text);
  EXPECT_TRUE(value) << text;
  return value ? *value : json::Value();
}

std::string memberText(const json::Value& object, std::string_view key) {
  const auto* members = object.as<json::Object>();
  const auto* member = members == nullptr ? nullptr : members->find(key);
  const auto* text = member == nullptr ? nullptr : member->as<std::string>();
  return text == nullptr ? std::string() : *text;
}

void CommandTest::SetUp() {
  auto sandbox = sandbox::Sandbox::start({.port = 0, .state = {}});
  ASSERT_TRUE(sandbox) << sandbox.error();
  sandbox_ = std::move(*sandbox);
}

ChildOutcome CommandTest::run(std::vector<std::string> arguments, const std::string& input) const {
  const std::vector<std::string> options{"--api", sandbox_->url(), "--store",
                                         (folder_ / "session.sqlite").string()};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return runCommand(arguments, input);
}

void CommandTest::registerMember(const std::string& name) const {
  const auto outcome =
      run({"call", "register-zavelo-user", "--parameters", "-"},
          R"({"zaveloId":")" + name + R"(","userName":")" + name + R"(","password":"secret"})");
  ASSERT_EQ(outcome.status, 0) << outcome.error;
}

ChildOutcome CommandTest::signIn(const std::string& name, const std::string& password) const {
  return run({"user", "login", "--zavelo-id", name, "--password", "-"}, password + "\n");
}

void CommandTest::act(const std::string& action, const std::string& userName) const {
  CurlHttpSession session;
  std::promise<HttpReply> answer;
  const auto task =
      session.send({.method = ZVHTTPMethod::post,
                    .url = sandbox_->url() + "/sandbox/actions",
                    .headers = {{"Content-Type", "application/json"}},
                    .body = R"({"action":")" + action + R"(","userName":")" + userName + R"("})"},
                   [&answer](HttpReply reply) { answer.set_value(std::move(reply)); });
  ASSERT_EQ(answer.get_future().get().status, 200);
}

}  // namespace zavelo::command

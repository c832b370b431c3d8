#include "tests/tools/command_fixture.hpp"

#include "zavelo/json/json.hpp"

namespace zavelo::command {

std::unique_ptr<ChildProcess> startCommand(const std::vector<std::string>& arguments,
                                           const std::string& input) {
  auto child = ChildProcess::start(ZAVELO_COMMAND, arguments);
  EXPECT_TRUE(child) << child.error();
  (*child)->write(input);
  return std::move(*child);
}

ChildOutcome runCommand(const std::vector<std::string>& arguments, const std::string& input) {
  return startCommand(arguments, input)->wait();
}

std::unique_ptr<ChildProcess> startShell(const std::string& line) {
  auto child = ChildProcess::start("/bin/sh", {"-c", line, ZAVELO_COMMAND});
  EXPECT_TRUE(child) << child.error();
  return std::move(*child);
}

ChildOutcome runShell(const std::string& line) {
  return startShell(line)->wait();
}

std::string memberText(const std::string& line, std::string_view key) {
  const auto value = json::decode<json::Value>(line);
  const auto* object = value ? value->as<json::Object>() : nullptr;
  const auto* member = object == nullptr ? nullptr : object->find(key);
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
}  // namespace zavelo::command

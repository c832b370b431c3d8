#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/sandbox.hpp"
#include "tools/zavelo/child_process.hpp"
#include "zavelo/json/value.hpp"

namespace zavelo::command {

/// A folder that is gone with the test.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  [[nodiscard]] std::filesystem::path operator/(const char* name) const { return path_ / name; }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

[[nodiscard]] std::unique_ptr<ChildProcess> startCommand(const std::vector<std::string>& arguments,
                                                         const std::string& input = {});
[[nodiscard]] ChildOutcome runCommand(const std::vector<std::string>& arguments,
                                      const std::string& input = {});
/// Runs a line of sh in which "$0" is the command.
[[nodiscard]] ChildOutcome runShell(const std::string& line);

/// One line of JSON, else the test fails.
[[nodiscard]] json::Value jsonLine(const std::string& text);
/// The text of a member of an object; empty when there is none.
[[nodiscard]] std::string memberText(const json::Value& object, std::string_view key);

/// The command against a sandbox, with a store of the test's own.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override;

  /// Runs an operation; each call is a process of its own.
  [[nodiscard]] ChildOutcome run(std::vector<std::string> arguments,
                                 const std::string& input = {}) const;
  /// Registers a member of this name whose password is "secret".
  void registerMember(const std::string& name) const;
  [[nodiscard]] ChildOutcome signIn(const std::string& name, const std::string& password) const;
  void act(const std::string& action, const std::string& userName) const;

  TemporaryFolder folder_;
  std::unique_ptr<sandbox::Sandbox> sandbox_;
};

}  // namespace zavelo::command

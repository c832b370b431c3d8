#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/sandbox.hpp"
#include "support/temporary_folder.hpp"
#include "tools/zavelo/demo/child_process.hpp"

namespace zavelo::command {

using test::TemporaryFolder;

[[nodiscard]] std::unique_ptr<ChildProcess> startCommand(const std::vector<std::string>& arguments,
                                                         const std::string& input = {});
[[nodiscard]] ChildOutcome runCommand(const std::vector<std::string>& arguments,
                                      const std::string& input = {});
/// Runs a line of sh in which "$0" is the command.
[[nodiscard]] std::unique_ptr<ChildProcess> startShell(const std::string& line);
[[nodiscard]] ChildOutcome runShell(const std::string& line);

/// The text of a member of the JSON object that the line is; empty when there is none.
[[nodiscard]] std::string memberText(const std::string& line, std::string_view key);

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

  TemporaryFolder folder_;
  std::unique_ptr<sandbox::Sandbox> sandbox_;
};

}  // namespace zavelo::command

#pragma once

#include <string_view>
#include <vector>

#include "tools/zavelo/arguments/argument.hpp"

namespace zavelo::command {

/// Something that a sandbox can be asked to make happen.
struct TriggerAction {
  std::string_view name;  ///< as the sandbox names it: "start-poll"
  std::string_view help;
  std::vector<Argument> arguments;
  bool isTold;  ///< to the members of a stream's channel
};

/// All of them, for as long as the process runs.
[[nodiscard]] const std::vector<TriggerAction>& triggerActions();

}  // namespace zavelo::command

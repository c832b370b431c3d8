#pragma once

#include <string_view>
#include <vector>

#include "sandbox/api/parameters.hpp"

namespace zavelo::sandbox {

/// What POST /sandbox/actions offers, for who asks for it in a person's name.
struct ActionOutline {
  std::string_view name;  ///< "start-poll"
  std::string_view help;  ///< one line
  std::vector<Parameter> parameters;
  bool isTold = false;  ///< to a stream's channel; `changed` is how often
};

[[nodiscard]] std::vector<ActionOutline> actionOutlines();

}  // namespace zavelo::sandbox

#pragma once

#include <string_view>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// Marks a spoilt response as spoilt on purpose, and says how.
inline constexpr std::string_view faultHeader = "X-Sandbox-Fault";

/// The name of the fault; empty when the response is as it should be.
[[nodiscard]] inline std::string_view faultOf(const Response& response) {
  for (const auto& [name, value] : response.headers) {
    if (name == faultHeader) return value;
  }
  return {};
}

}  // namespace zavelo::sandbox

#pragma once

#include <string_view>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// Tells whoever looks at a spoilt response that it was spoilt on purpose, and how.
inline constexpr std::string_view faultHeader = "X-Sandbox-Fault";

/// The name of the fault; empty when the response is as it should be.
[[nodiscard]] inline std::string_view faultOf(const Response& response) {
  for (const auto& [name, value] : response.headers) {
    if (name == faultHeader) return value;
  }
  return {};
}

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "sandbox/dashboard/call_log.hpp"
#include "sandbox/http/message.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// A call and how it went. What never became a request has an empty one.
struct Exchange {
  std::int64_t number;
  Time at;
  std::chrono::microseconds took;
  std::string caller;  ///< a member's userName or a guest; empty where nobody is known
  const Request& request;
  const Response& response;
};

/// The call for the log: readable whatever was sent, without secrets, and long bodies cut.
[[nodiscard]] LoggedCall recordOf(const Exchange& exchange);

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/api/api_error.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo {

/// How a call went. It holds neither tokens nor bodies nor what the parameters were.
struct ZVCallReport {
  std::string endpoint = {};                 ///< the path: "/api/users/login"
  std::optional<ZVAPIErrorType> error = {};  ///< absent: success
  std::optional<int> status = {};            ///< of the last reply
  std::chrono::microseconds duration{};      ///< from the call to its completion
  std::chrono::microseconds decoding{};      ///< of the reply's JSON
  HttpTimes times = {};  ///< added up over all that was sent; 0 where the session does not measure
  int resends = 0;       ///< after renewals of the session
  std::string traceId = {};  ///< 32 hexadecimal digits; empty without a `traceparent` header
};

/// Receives a report of each call. Any thread may make the calls; `callEnded` comes on the main
/// queue, right before the completion. It must not throw.
class ZVCallObserver {
 public:
  virtual ~ZVCallObserver() = default;
  virtual void callEnded(const ZVCallReport& report) = 0;
};

}  // namespace zavelo

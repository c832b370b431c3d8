#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/api/call_observer.hpp"

namespace zavelo::detail {

/// Gathers the report of one call.
class CallMeter {
 public:
  CallMeter(std::shared_ptr<ZVCallObserver> observer, const std::string& url);

  void sent(const std::vector<HttpHeader>& headers);
  void replied(const std::optional<HttpReply>& reply);
  void decoded(std::chrono::nanoseconds took);
  void ended(std::optional<ZVAPIErrorType> error, std::chrono::nanoseconds took);

 private:
  const std::shared_ptr<ZVCallObserver> observer_;
  ZVCallReport report_;
  bool isFirst_ = true;
};

/// The ids of a W3C trace context, random; of a call that is sent again only the second one is new.
class TraceContext {
 public:
  /// "00-<trace id>-<parent id>-01", the call sampled.
  [[nodiscard]] std::string nextHeader();

 private:
  std::string traceId_;
};

inline constexpr const char* traceHeader = "traceparent";

}  // namespace zavelo::detail

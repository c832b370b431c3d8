#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

/// The lines about one exchange, written to the log in one piece when it is over.
class ExchangeLog {
 public:
  using Level = ZVAPIService::APILogLevel;

  ExchangeLog(std::shared_ptr<Clock> clock, Level level)
      : clock_(std::move(clock)), level_(level), start_(now()) {}

  void request(ZVHTTPMethod method, const std::string& url, const std::vector<HttpHeader>& headers,
               const std::optional<json::Object>& parameters);
  void reply(const std::optional<HttpReply>& reply);

  void renewal(const std::string& url, const std::vector<HttpHeader>& headers,
               const json::Object& body);
  void renewalReply(bool answered);

  /// Adds how long it took and writes the lines, at level `none` nothing.
  void print();

 private:
  [[nodiscard]] std::chrono::nanoseconds now() const { return clock_->sinceBoot(); }
  [[nodiscard]] std::string millisecondsSince(std::chrono::nanoseconds start) const;
  void line(std::string text) { lines_.push_back(std::move(text)); }

  std::shared_ptr<Clock> clock_;
  Level level_;
  std::chrono::nanoseconds start_;
  std::chrono::nanoseconds renewalStart_{};
  std::vector<std::string> lines_;
};

/// The value as JSON over several lines, for the log only; empty when it cannot be written.
[[nodiscard]] std::string prettyStringFromJsonObject(const json::Value& value);

}  // namespace zavelo::detail

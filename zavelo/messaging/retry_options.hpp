#pragma once

#include <functional>
#include <optional>

namespace zavelo {

/// What a retry policy answers.
class ZVRetryOptions {
 public:
  [[nodiscard]] static ZVRetryOptions retry(double after) { return ZVRetryOptions(after); }
  [[nodiscard]] static ZVRetryOptions resign() { return ZVRetryOptions(std::nullopt); }

  /// Seconds until the next attempt; absent when there shall be none.
  [[nodiscard]] std::optional<double> after() const noexcept { return after_; }

 private:
  explicit ZVRetryOptions(std::optional<double> after) : after_(after) {}
  std::optional<double> after_;
};

/// Asked once after each failure; an empty one resigns.
using ZVRetryPolicy = std::function<ZVRetryOptions()>;

/// Every 5 seconds, for as long as it takes.
[[nodiscard]] inline ZVRetryOptions retryUntilSuccess() {
  return ZVRetryOptions::retry(5.0);
}

}  // namespace zavelo

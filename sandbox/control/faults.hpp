#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// What may befall a call on purpose.
enum class FaultKind {
  delay,         ///< answered late
  cut,           ///< answered, and the connection closes in the middle of the body
  refuse,        ///< not done; the connection closes without an answer
  unauthorized,  ///< not done; HTTP 401
  code,          ///< not done; an envelope with a code and a message
  wrongType,     ///< done; texts for numbers and numbers for texts in the answer's data
  invalidJson,   ///< done; an answer that ends in the middle of its JSON
};

[[nodiscard]] std::string_view nameOf(FaultKind kind);
[[nodiscard]] std::optional<FaultKind> faultKindOf(std::string_view name);

struct FaultRule {
  std::string endpoint;  ///< a path under /api/, or "*" for all of them
  FaultKind kind = FaultKind::delay;
  std::int64_t count = 1;  ///< calls that are still to come
  std::chrono::milliseconds delay{0};
  std::int64_t code = 0;
  std::string message;
};

/// The rules that wait for their calls. Each call meets one rule, the oldest that fits. Any thread.
class FaultDesk {
 public:
  void add(FaultRule rule);
  void clear();
  [[nodiscard]] std::vector<FaultRule> pending() const;

  /// Carries out the call, spoilt if a rule waits for it.
  [[nodiscard]] Response around(const Request& request, const std::function<Response()>& proceed);

  /// Ends every delay, for good.
  void stop();

 private:
  [[nodiscard]] std::optional<FaultRule> take(std::string_view path);
  [[nodiscard]] Response spoilt(const FaultRule& rule, const std::function<Response()>& proceed);
  void wait(std::chrono::milliseconds time);

  mutable std::mutex mutex_;
  std::condition_variable stopping_;
  bool stopped_ = false;
  std::vector<FaultRule> rules_;
};

}  // namespace zavelo::sandbox

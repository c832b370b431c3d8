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
#include "zavelo/testing/fault_plan.hpp"

namespace zavelo::sandbox {

/// Spoils calls as the faults that wait for them say. Any thread.
class FaultInjector {
 public:
  /// What a call to that path could meet: whether there is such an endpoint.
  using Serves = std::function<bool(std::string_view path)>;

  explicit FaultInjector(Serves serves) : serves_(std::move(serves)) {}

  /// All of them, or none and what is wrong: `"endpoint": there is no /api/nothing`.
  [[nodiscard]] std::optional<std::string> add(const std::vector<testing::Fault>& faults);
  /// Drops what waits, and ends the delays that run.
  void clear();
  [[nodiscard]] std::vector<testing::Fault> pending() const { return plan_.pending(); }

  /// Carries out the call, spoilt if a fault waits for it.
  [[nodiscard]] Response around(const Request& request, const std::function<Response()>& proceed);

  /// Ends every delay, for good.
  void stop();

 private:
  [[nodiscard]] std::int64_t clearings();
  void wait(std::chrono::milliseconds time, std::int64_t clearings);

  const Serves serves_;
  testing::FaultPlan plan_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool stopped_ = false;
  std::int64_t clearings_ = 0;
};

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <condition_variable>
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
class FaultDesk {
 public:
  /// What a call to that path could meet: whether there is such an endpoint.
  using Serves = std::function<bool(std::string_view path)>;

  explicit FaultDesk(Serves serves) : serves_(std::move(serves)) {}

  /// All of them, or none and what is wrong: `"endpoint": there is no /api/nothing`.
  [[nodiscard]] std::optional<std::string> add(const std::vector<testing::Fault>& faults);
  void clear() { plan_.clear(); }
  [[nodiscard]] std::vector<testing::Fault> pending() const { return plan_.pending(); }

  /// Carries out the call, spoilt if a fault waits for it.
  [[nodiscard]] Response around(const Request& request, const std::function<Response()>& proceed);

  /// Ends every delay, for good.
  void stop();

 private:
  [[nodiscard]] Response spoilt(const testing::Fault& fault,
                                const std::function<Response()>& proceed);
  void wait(std::chrono::milliseconds time);

  const Serves serves_;
  testing::FaultPlan plan_;
  std::mutex mutex_;
  std::condition_variable stopping_;
  bool stopped_ = false;
};

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <mutex>

#include "zavelo/platform/clock.hpp"

namespace zavelo::testing {

/// A clock that stands still until it is told to move.
class ZAVELO_EXPORT ManualClock final : public Clock {
 public:
  explicit ManualClock(std::chrono::system_clock::time_point start = {}) : start_(start) {}
  [[nodiscard]] std::chrono::system_clock::time_point now() const override;
  [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override;
  void advance(std::chrono::nanoseconds by);

 private:
  mutable std::mutex mutex_;
  std::chrono::system_clock::time_point start_;
  std::chrono::nanoseconds passed_{0};
};

}  // namespace zavelo::testing

#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "zavelo/base/export.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// Runs a closure on a queue again and again. It keeps to its first moment plus whole periods, so
/// that it does not drift; a moment that was missed (the device slept) is not made up for. It runs
/// until its closure says false or it is invalidated, whether or not somebody still holds it.
class ZAVELO_EXPORT RepeatingTimer {
 public:
  /// The shortest period; a shorter one, or none at all, is taken for it.
  static constexpr std::chrono::nanoseconds shortestPeriod = std::chrono::milliseconds(1);

  /// First run after one period.
  static std::shared_ptr<RepeatingTimer> schedule(const std::shared_ptr<Queue>& queue,
                                                  std::shared_ptr<const Clock> clock,
                                                  std::chrono::nanoseconds period,
                                                  std::function<bool()> tick);
  virtual ~RepeatingTimer() = default;
  /// The closure will not run again. Any thread; harmless when repeated.
  virtual void invalidate() = 0;
};

}  // namespace zavelo

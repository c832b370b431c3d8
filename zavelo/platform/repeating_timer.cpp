#include "zavelo/platform/repeating_timer.hpp"

#include <algorithm>
#include <atomic>
#include <utility>

namespace zavelo {
namespace {

using std::chrono::nanoseconds;

class Timer final : public RepeatingTimer, public std::enable_shared_from_this<Timer> {
 public:
  Timer(const std::shared_ptr<Queue>& queue, std::shared_ptr<const Clock> clock, nanoseconds period,
        std::function<bool()> tick)
      : queue_(queue),
        clock_(std::move(clock)),
        period_(std::max(period, shortestPeriod)),
        tick_(std::move(tick)),
        due_(clock_->sinceBoot()) {}

  void invalidate() override { isValid_ = false; }

  void scheduleNext() {
    const nanoseconds now = clock_->sinceBoot();
    due_ += period_;
    if (due_ < now) due_ += (now - due_) / period_ * period_ + period_;
    const auto delay = std::chrono::ceil<std::chrono::milliseconds>(due_ - now);
    const auto queue = queue_.lock();
    if (queue) queue->postAfter(delay, [self = shared_from_this()] { self->fire(); });
  }

 private:
  void fire() {
    if (isValid_ && tick_()) scheduleNext();
  }

  const std::weak_ptr<Queue> queue_;  // it holds the timer while that waits
  const std::shared_ptr<const Clock> clock_;
  const nanoseconds period_;
  const std::function<bool()> tick_;
  nanoseconds due_;  // touched by one run after the other
  std::atomic<bool> isValid_ = true;
};

}  // namespace

std::shared_ptr<RepeatingTimer> RepeatingTimer::schedule(const std::shared_ptr<Queue>& queue,
                                                         std::shared_ptr<const Clock> clock,
                                                         nanoseconds period,
                                                         std::function<bool()> tick) {
  auto timer = std::make_shared<Timer>(queue, std::move(clock), period, std::move(tick));
  timer->scheduleNext();
  return timer;
}

}  // namespace zavelo

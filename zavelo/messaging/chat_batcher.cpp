#include "zavelo/messaging/chat_batcher.hpp"

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>

#include "zavelo/messaging/pending_chat_internal.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo {
namespace {

using Event = std::shared_ptr<const ZVStreamMessage>;
using Handling = detail::ChatHandling;

constexpr auto unlimited = std::numeric_limits<std::size_t>::max();

std::int64_t typeOf(const ZVStreamMessage& event) {
  return event.messageType.value_or(rawValue(ZVMessageType::message));
}

/// How many lines may be shown now.
class LineBudget {
 public:
  LineBudget(const ZVChatBatcherOptions& options, std::shared_ptr<const Clock> clock)
      : rate_(options.linesPerSecond),
        most_(std::max(1.0, rate_ * Seconds(options.interval).count())),
        clock_(std::move(clock)) {}

  std::size_t take(std::size_t lines) {
    if (!(rate_ > 0)) return lines;
    const auto now = clock_->sinceBoot();
    saved_ = std::min(most_, saved_ + rate_ * Seconds(now - std::exchange(at_, now)).count());
    // What does not fit in an integer is more than any number of lines.
    const auto taken = saved_ < 1e9 ? std::min(lines, static_cast<std::size_t>(saved_)) : lines;
    saved_ -= static_cast<double>(taken);
    return taken;
  }

 private:
  using Seconds = std::chrono::duration<double>;

  const double rate_;
  const double most_;
  const std::shared_ptr<const Clock> clock_;
  double saved_ = most_;
  std::chrono::nanoseconds at_{0};
};

}  // namespace

class ZVChatBatcher::State : public std::enable_shared_from_this<State> {
 public:
  State(Deliver deliver, Collaborators with, const ZVChatBatcherOptions& options)
      : deliver_(std::make_shared<Deliver>(std::move(deliver))),
        mainQueue_(with.mainQueue),
        interval_(std::max(options.interval, std::chrono::milliseconds(1))),
        pending_(options),
        budget_(options, std::move(with.clock)) {}

  void add(Event event, std::int64_t type, Handling handling) noexcept {
    {
      const std::lock_guard lock(mutex_);
      ++pending_.counters.received;
      try {
        pending_.add(std::move(event), type, handling);
      } catch (...) {
        ++pending_.counters.lost;
      }
    }
    schedule();
  }

  void flush() noexcept {
    const auto queue = mainQueue_.lock();
    if (!queue) return;
    try {
      queue->post([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->deliver(true);
      });
    } catch (...) {  // it goes with the next batch
    }
  }

  // Not by way of the state: the queue must not own what owns the app's function for longer.
  void close() noexcept {
    const auto queue = mainQueue_.lock();
    if (!queue) return;
    try {
      auto batch = take(true);
      if (batch.items.empty()) return;
      queue->post([deliver = deliver_, batch = std::move(batch)]() mutable {
        (*deliver)(std::move(batch));
      });
    } catch (...) {  // no memory is left to tell the app
    }
  }

  [[nodiscard]] ZVChatBatcherCounters counters() const {
    const std::lock_guard lock(mutex_);
    auto counters = pending_.counters;
    counters.pending = pending_.size();
    return counters;
  }

 private:
  // Not while a batch is delivered: the screen gets its pause after that.
  void schedule() noexcept {
    const auto queue = mainQueue_.lock();
    {
      const std::lock_guard lock(mutex_);
      if (!queue || isScheduled_ || isDelivering_ || pending_.size() == 0) return;
      isScheduled_ = true;
    }
    try {
      auto tick = queue->postAfter(interval_, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->deliver(false);
      });
      const std::lock_guard lock(mutex_);
      tick_ = std::move(tick);
    } catch (...) {  // the next event tries again
      const std::lock_guard lock(mutex_);
      isScheduled_ = false;
    }
  }

  ZVChatBatch take(bool all) noexcept {
    const std::lock_guard lock(mutex_);
    try {
      return pending_.take(all ? unlimited : budget_.take(pending_.lines()));
    } catch (...) {
      return {};
    }
  }

  void deliver(bool all) {
    std::shared_ptr<DelayedTask> tick;
    {
      const std::lock_guard lock(mutex_);
      if (isDelivering_) return;  // a loop of the app's own inside `deliver_`
      isDelivering_ = true;
      isScheduled_ = false;
      tick.swap(tick_);
    }
    if (tick) tick->cancel();
    struct Next {  // also when `deliver_` throws
      State& state;
      ~Next() {
        {
          const std::lock_guard lock(state.mutex_);
          state.isDelivering_ = false;
        }
        state.schedule();
      }
    } const next{*this};
    if (auto batch = take(all); !batch.items.empty()) (*deliver_)(std::move(batch));
  }

  const std::shared_ptr<Deliver> deliver_;
  const std::weak_ptr<Queue> mainQueue_;  // it holds ticks
  const std::chrono::milliseconds interval_;
  mutable std::mutex mutex_;  // guards what follows
  detail::PendingChat pending_;
  LineBudget budget_;
  std::shared_ptr<DelayedTask> tick_;
  bool isScheduled_ = false;
  bool isDelivering_ = false;
};

ZVChatBatcher::Collaborators ZVChatBatcher::Collaborators::ofPlatform() {
  return {platform::mainQueue(), platform::clock()};
}

ZVChatBatcher::ZVChatBatcher(Deliver deliver, Collaborators with,
                             const ZVChatBatcherOptions& options)
    : state_(std::make_shared<State>(std::move(deliver), std::move(with), options)) {}

ZVChatBatcher::~ZVChatBatcher() {
  state_->close();
}

void ZVChatBatcher::add(std::shared_ptr<const ZVStreamMessage> event) {
  if (!event) return;
  const auto type = typeOf(*event);
  add(std::move(event), type);
}

void ZVChatBatcher::add(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type) {
  if (!event) return;
  const auto handling = detail::chatHandling(*event, type);
  state_->add(std::move(event), type, handling);
}

void ZVChatBatcher::addKept(std::shared_ptr<const ZVStreamMessage> event) {
  if (!event) return;
  const auto type = typeOf(*event);
  state_->add(std::move(event), type, Handling::keep);
}

void ZVChatBatcher::flush() {
  state_->flush();
}

ZVChatBatcherCounters ZVChatBatcher::counters() const {
  return state_->counters();
}

}  // namespace zavelo

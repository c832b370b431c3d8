#include "zavelo/messaging/chat_batcher.hpp"

#include <algorithm>
#include <deque>
#include <iterator>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <typeinfo>
#include <utility>

#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo {
namespace {

using Event = std::shared_ptr<const ZVStreamMessage>;
constexpr auto unlimited = std::numeric_limits<std::size_t>::max();

/// What becomes of an event while it waits.
enum class Handling { merge, drop, keep };

/// Newer kinds count as plain lines, as they do in `ZVStreamMessage::type`.
ZVMessageType kindOf(std::int64_t type) {
  return fromRawValue<ZVMessageType>(type).value_or(ZVMessageType::message);
}
std::int64_t typeOf(const ZVStreamMessage& event) {
  return event.messageType.value_or(rawValue(ZVMessageType::message));
}

Handling handlingOf(const ZVStreamMessage& event, std::int64_t type) {
  switch (kindOf(type)) {
    case ZVMessageType::like:
    case ZVMessageType::viewerJoined:
    case ZVMessageType::viewerLeft:
    case ZVMessageType::statistic:
    case ZVMessageType::pkStatistic:
      return Handling::merge;
    case ZVMessageType::message:  // also of a gift without its `messageType`
      return typeid(event) == typeid(ZVStreamMessage) ? Handling::drop : Handling::keep;
    default:
      return Handling::keep;
  }
}

/// Events with the same key may become one item: all of a kind, or those of one origin.
enum class Scope { kind, origin };
using Key = std::tuple<Scope, ZVMessageType, std::optional<std::int64_t>,
                       std::optional<std::int64_t>, std::optional<std::string>>;

Key keyOf(const ZVStreamMessage& event, std::int64_t type) {
  const auto* gift = dynamic_cast<const ZVGiftMessage*>(&event);
  return {Scope::origin, kindOf(type), event.senderUserId,
          gift != nullptr ? gift->giftId : std::nullopt, event.targetUsername};
}
Key keyOfAll(std::int64_t type) {
  return {Scope::kind, kindOf(type), {}, {}, {}};
}

std::int64_t sum(std::int64_t a, std::int64_t b) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (b > 0 && a > Limits::max() - b) return Limits::max();
  if (b < 0 && a < Limits::min() - b) return Limits::min();
  return a + b;
}

/// The newer event, as a gift with the gifts of both.
Event joined(const Event& older, Event newer) {
  const auto* before = dynamic_cast<const ZVGiftMessage*>(older.get());
  const auto* now = dynamic_cast<const ZVGiftMessage*>(newer.get());
  if (before == nullptr || now == nullptr) return newer;
  auto gift = std::make_shared<ZVGiftMessage>();
  static_cast<ZVStreamMessageFields&>(*gift) = *now;
  static_cast<ZVGiftMessageFields&>(*gift) = *now;
  gift->giftCount = sum(before->giftCount.value_or(1), now->giftCount.value_or(1));
  return gift;
}

/// What waits, in bounded room. Not synchronised.
class Pending {
 public:
  explicit Pending(const ZVChatBatcherOptions& options)
      : lineLimit_(std::max<std::size_t>(options.lineLimit, 1)), keptLimit_(options.keptLimit) {}

  void add(Event event, std::int64_t type, Handling handling) {
    Waiting waiting{{std::move(event), type}, ++lastNumber_};
    if (handling == Handling::drop) {
      lines_.push_back(std::move(waiting));
      if (lines_.size() > lineLimit_) dropOldestLine();
    } else if (handling == Handling::merge) {
      if (addTo(keyOfAll(type), std::move(waiting))) ++counters.merged;
    } else {
      Key key = keyOf(*waiting.item.event, type);
      if (others_.size() < keptLimit_) return append(std::move(key), std::move(waiting));
      if (!places_.contains(key)) key = keyOfAll(type);
      if (addTo(std::move(key), std::move(waiting))) ++counters.compacted;
    }
  }

  /// With so many lines at most, the oldest of them. Where memory is short, all goes on waiting.
  ZVChatBatch take(std::size_t lines) {
    const auto end = lines_.begin() + static_cast<std::ptrdiff_t>(std::min(lines, lines_.size()));
    const auto size = others_.size() + static_cast<std::size_t>(end - lines_.begin());
    ZVChatBatch batch;
    if (size == 0) return batch;
    batch.items.reserve(size);
    others_.reserve(size);
    std::move(lines_.begin(), end, std::back_inserter(others_));
    lines_.erase(lines_.begin(), end);
    std::ranges::sort(others_, {}, &Waiting::number);
    for (auto& each : others_) batch.items.push_back(std::move(each.item));
    others_.clear();
    places_.clear();
    batch.droppedLines = std::exchange(droppedLines_, 0);
    ++counters.batches;
    counters.items += size;
    return batch;
  }

  [[nodiscard]] std::size_t lines() const { return lines_.size(); }
  [[nodiscard]] std::size_t size() const { return lines_.size() + others_.size(); }

  ZVChatBatcherCounters counters;

 private:
  struct Waiting {
    ZVChatBatchItem item;
    std::uint64_t number;  // of its newest event
  };

  void append(Key key, Waiting newest) {
    others_.push_back(std::move(newest));
    places_.insert_or_assign(std::move(key), others_.size() - 1);
  }

  /// Whether an item with this key waited already.
  bool addTo(Key key, Waiting newest) {
    const auto place = places_.find(key);
    if (place == places_.end()) {
      append(std::move(key), std::move(newest));
      return false;
    }
    Waiting& older = others_[place->second];
    newest.item.event = joined(older.item.event, std::move(newest.item.event));
    newest.item.count += older.item.count;
    older = std::move(newest);
    return true;
  }

  void dropOldestLine() {
    lines_.pop_front();
    ++droppedLines_;
    ++counters.droppedLines;
  }

  const std::size_t lineLimit_;
  const std::size_t keptLimit_;
  std::deque<Waiting> lines_;
  std::vector<Waiting> others_;
  std::map<Key, std::size_t> places_;  // in `others_`
  std::uint64_t lastNumber_ = 0;
  std::uint64_t droppedLines_ = 0;  // since the last batch
};

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
  Pending pending_;
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
  const auto handling = handlingOf(*event, type);
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

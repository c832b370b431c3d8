#include "zavelo/messaging/chat_replay.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace zavelo {
namespace {

std::int64_t timeOf(const std::shared_ptr<ZVStreamMessage>& event) {
  return event->recordedTime.value_or(std::numeric_limits<std::int64_t>::min());
}

}  // namespace

ZVChatReplay::ZVChatReplay(ZVRecordedMessages events) : events_(std::move(events)) {
  std::erase(events_, nullptr);
  std::stable_sort(events_.begin(), events_.end(),
                   [](const auto& a, const auto& b) { return timeOf(a) < timeOf(b); });
  times_.reserve(events_.size());
  std::transform(events_.begin(), events_.end(), std::back_inserter(times_), timeOf);
}

ZVChatReplay::Batch ZVChatReplay::advance(std::int64_t to) {
  const auto behind = std::upper_bound(times_.begin(), times_.end(), to);
  const auto end = std::max(next_, static_cast<std::size_t>(behind - times_.begin()));
  const auto begin = std::exchange(next_, end);
  return events().subspan(begin, end - begin);
}

void ZVChatReplay::seek(std::int64_t to) {
  const auto first = std::lower_bound(times_.begin(), times_.end(), to);
  next_ = static_cast<std::size_t>(first - times_.begin());
}

std::optional<std::int64_t> ZVChatReplay::nextTime() const {
  if (next_ == times_.size()) return std::nullopt;
  return times_[next_];
}

ZVChatReplay::Batch ZVChatReplay::past() const {
  return events().first(next_);
}

ZVChatReplay::Batch ZVChatReplay::events() const {
  return events_;
}

}  // namespace zavelo

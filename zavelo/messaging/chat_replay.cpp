#include "zavelo/messaging/chat_replay.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace zavelo {
namespace {

std::int64_t timeOf(const std::shared_ptr<ZVStreamMessage>& event) {
  return event->recordedTime.value_or(std::numeric_limits<std::int64_t>::min());
}

using Times = std::vector<std::int64_t>;

/// The indexes of the times in ascending order, those of equal times as they are. A decoded chat is
/// two ascending runs, its polls after all else; merging them takes one pass.
std::vector<std::size_t> ascending(const Times& times, Times::const_iterator firstRunEnd) {
  std::vector<std::size_t> order(times.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto isEarlier = [&](std::size_t a, std::size_t b) { return times[a] < times[b]; };
  if (std::is_sorted(firstRunEnd, times.end()))
    std::inplace_merge(order.begin(), order.begin() + (firstRunEnd - times.begin()), order.end(),
                       isEarlier);
  else
    std::stable_sort(order.begin(), order.end(), isEarlier);
  return order;
}

}  // namespace

// The times are read once, in the order of the events: each is elsewhere in memory.
ZVChatReplay::ZVChatReplay(ZVRecordedMessages events) : events_(std::move(events)) {
  std::erase(events_, nullptr);
  times_.reserve(events_.size());
  std::transform(events_.begin(), events_.end(), std::back_inserter(times_), timeOf);
  const auto firstRunEnd = std::is_sorted_until(times_.cbegin(), times_.cend());
  if (firstRunEnd == times_.cend()) return;
  ZVRecordedMessages ordered;
  ordered.reserve(events_.size());
  Times orderedTimes;
  orderedTimes.reserve(events_.size());
  for (const std::size_t index : ascending(times_, firstRunEnd)) {
    ordered.push_back(std::move(events_[index]));
    orderedTimes.push_back(times_[index]);
  }
  events_ = std::move(ordered);
  times_ = std::move(orderedTimes);
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

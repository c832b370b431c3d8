#include "sandbox/events/event_feed.hpp"

#include <sodium.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace zavelo::sandbox {
namespace {

/// So that a reader who has much to catch up with is served in pieces.
constexpr std::size_t mostAtOnce = 256;

}  // namespace

EventFeed::EventFeed() : EventFeed(Limits{}) {}

EventFeed::EventFeed(Limits limits)
    : limits_(limits), epoch_(std::to_string(randombytes_random())) {}

void EventFeed::publish(std::string_view topic, std::string data) {
  const std::scoped_lock lock(mutex_);
  bytes_ += data.size();
  events_.push_back({idOf(++latest_), topic, std::move(data)});
  while (events_.size() > limits_.events || bytes_ > limits_.bytes) {
    bytes_ -= events_.front().data.size();
    events_.pop_front();
  }
  happened_.notify_all();
}

std::string EventFeed::position() const {
  const std::scoped_lock lock(mutex_);
  return idOf(latest_);
}

void EventFeed::stop() {
  const std::scoped_lock lock(mutex_);
  stopped_ = true;
  happened_.notify_all();
}

std::string EventFeed::idOf(std::uint64_t number) const {
  return epoch_ + "-" + std::to_string(number);
}

std::optional<std::uint64_t> EventFeed::numberOf(std::string_view id) const {
  if (!id.starts_with(epoch_ + "-")) return {};
  id.remove_prefix(epoch_.size() + 1);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
  if (error != std::errc() || end != id.data() + id.size() || number > latest_) return {};
  return number;
}

EventFeed::Reader::Reader(EventFeed& feed, std::string_view lastId) : feed_(feed) {
  const std::scoped_lock lock(feed_.mutex_);
  seen_ = lastId.empty() ? feed_.latest_ : feed_.numberOf(lastId);
  isAdmitted_ = feed_.readers_ < mostReaders;
  if (isAdmitted_) ++feed_.readers_;
}

EventFeed::Reader::~Reader() {
  if (!isAdmitted_) return;
  const std::scoped_lock lock(feed_.mutex_);
  --feed_.readers_;
}

EventBatch EventFeed::Reader::next(std::chrono::milliseconds patience) {
  std::unique_lock lock(feed_.mutex_);
  feed_.happened_.wait_for(lock, patience,
                           [&] { return feed_.stopped_ || !seen_ || *seen_ < feed_.latest_; });
  if (feed_.stopped_) return {.ended = true};
  EventBatch batch;
  if (!seen_ || *seen_ < feed_.forgotten()) {
    seen_ = feed_.latest_;
    batch.missedUpTo = feed_.idOf(feed_.latest_);
    return batch;
  }
  const auto first =
      feed_.events_.begin() + static_cast<std::ptrdiff_t>(*seen_ - feed_.forgotten());
  const auto count = std::min<std::size_t>(mostAtOnce, feed_.latest_ - *seen_);
  batch.events.assign(first, first + static_cast<std::ptrdiff_t>(count));
  *seen_ += count;
  return batch;
}

}  // namespace zavelo::sandbox

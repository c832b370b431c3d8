#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zavelo::sandbox {

/// One thing that happened.
struct Event {
  std::string id;
  std::string_view topic;  ///< a literal
  std::string data;        ///< JSON without line breaks
};

/// What a reader is handed at once, in order.
struct EventBatch {
  std::vector<Event> events{};
  /// Not empty: what the reader wanted is no longer kept, and it continues after this id.
  std::string missedUpTo{};
  bool ended = false;  ///< there will be nothing more
};

/// What happens in the sandbox, told to any number of readers. It keeps the latest events only and
/// waits for no reader: one that is too slow is told that it missed some. Any thread.
class EventFeed {
 public:
  static constexpr std::size_t mostReaders = 64;

  struct Limits {
    std::size_t events = 4096;
    std::size_t bytes = 4 * 1024 * 1024;
  };

  EventFeed();
  explicit EventFeed(Limits limits);

  void publish(std::string_view topic, std::string data);

  /// The id of the latest event, or one before the first: a reader that continues from there misses
  /// nothing.
  [[nodiscard]] std::string position() const;

  /// Ends the reading, for good.
  void stop();

  /// One reader, at its position.
  class Reader {
   public:
    /// Begins after the event of that id, or without one at what happens from now on.
    Reader(EventFeed& feed, std::string_view lastId);
    Reader(const Reader&) = delete;
    ~Reader();

    /// Waits up to `patience`; an empty batch when nothing happened.
    [[nodiscard]] EventBatch next(std::chrono::milliseconds patience);
    /// False when there are too many readers already.
    [[nodiscard]] bool isAdmitted() const noexcept { return isAdmitted_; }

   private:
    EventFeed& feed_;
    bool isAdmitted_ = false;
    std::optional<std::uint64_t> seen_;  ///< none: an id that is not of this feed
  };

 private:
  [[nodiscard]] std::string idOf(std::uint64_t number) const;
  [[nodiscard]] std::optional<std::uint64_t> numberOf(std::string_view id) const;
  /// Of the event before the oldest that is kept.
  [[nodiscard]] std::uint64_t forgotten() const { return latest_ - events_.size(); }

  const Limits limits_;
  const std::string epoch_;  ///< marks the ids of this feed, so that those of another run are told
  mutable std::mutex mutex_;
  std::condition_variable happened_;
  std::deque<Event> events_;
  std::size_t bytes_ = 0;
  std::uint64_t latest_ = 0;
  std::size_t readers_ = 0;
  bool stopped_ = false;
};

}  // namespace zavelo::sandbox

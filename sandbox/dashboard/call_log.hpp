#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "sandbox/events/event_feed.hpp"

namespace zavelo::sandbox {

/// A call as the dashboard shows it.
struct LoggedCall {
  std::int64_t number = 0;
  bool isPending = false;  ///< not answered yet
  std::string summary;     ///< a JSON object
  std::string detail;      ///< another one: what the summary leaves out
};

/// The latest calls, within bounds of count and memory: beyond them, the oldest that ended go.
/// Those that are pending stay, each of which holds up a connection. Tells the feed of every
/// change, in its order: `call` with the summary, `cleared`. Any thread.
class CallLog {
 public:
  struct Limits {
    std::size_t calls = 1000;
    std::size_t bytes = 16 * 1024 * 1024;
  };

  explicit CallLog(EventFeed& feed) : CallLog(feed, Limits{}) {}
  CallLog(EventFeed& feed, Limits limits) : feed_(feed), limits_(limits) {}

  /// For the next call; they count from 1.
  [[nodiscard]] std::int64_t nextNumber();
  /// A call that arrives, or the one of that number as it ended.
  void put(LoggedCall call);
  /// Forgets the calls that ended.
  void clear();

  struct Listing {
    std::string summaries;  ///< a JSON array, the oldest call first
    std::string position;   ///< in the feed: what comes after it is not in the summaries yet
  };
  [[nodiscard]] Listing list() const;
  [[nodiscard]] std::optional<LoggedCall> find(std::int64_t number) const;

 private:
  void trim();

  EventFeed& feed_;
  const Limits limits_;
  mutable std::mutex mutex_;
  std::int64_t lastNumber_ = 0;
  std::size_t bytes_ = 0;
  std::map<std::int64_t, LoggedCall> calls_;
};

}  // namespace zavelo::sandbox

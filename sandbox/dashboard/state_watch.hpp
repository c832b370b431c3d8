#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "sandbox/dashboard/curves.hpp"
#include "sandbox/events/event_feed.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// Tells the feed that the state may have changed (`state`), a few times a second at most, and
/// notes the figures of the streams each time. On a thread of its own, which sleeps while nothing
/// happens.
class StateWatch {
 public:
  StateWatch(Database& database, EventFeed& feed, std::function<Time()> now);
  ~StateWatch();

  /// Something may have changed. Any thread; costs nothing.
  void touch();
  [[nodiscard]] std::vector<CurvePoint> curveOf(std::int64_t stream) const;
  void stop();

 private:
  void run();
  void look();

  Database& database_;
  EventFeed& feed_;
  const std::function<Time()> now_;
  Time lastLook_{};  ///< of the thread
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool touched_ = true;
  bool stopped_ = false;
  Curves curves_;
  std::thread thread_;
};

}  // namespace zavelo::sandbox

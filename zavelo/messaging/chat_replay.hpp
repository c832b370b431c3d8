#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/messaging/recorded_chat.hpp"

namespace zavelo {

/// Shows a recorded chat in step with its video. Each event is due once, in the order of
/// `recordedTime` (those of one time in the order of the chat; without a time: at the beginning),
/// until a seek makes it due again. Times are in the unit of `recordedTime`. One thread at a time.
///
///     ZVChatReplay replay(events);
///     onTick([&](std::int64_t time) { for (auto& event : replay.advance(time)) show(*event); });
///     onSeek([&](std::int64_t time) { replay.seek(time); showAll(replay.past()); });
class ZAVELO_EXPORT ZVChatReplay {
 public:
  /// Events in order, as long as the replay lives.
  using Batch = std::span<const std::shared_ptr<ZVStreamMessage>>;

  explicit ZVChatReplay(ZVRecordedMessages events);

  /// What has become due since the last call, up to and with the events of that moment. None when
  /// time has not moved on; going back takes a `seek`. O(log n).
  Batch advance(std::int64_t to);
  /// Goes to a moment, forwards or back, without what lies between: the events of the moment itself
  /// are the next ones due. O(log n).
  void seek(std::int64_t to);

  /// When the next event is due: the smallest integer for one without a time; absent at the end.
  [[nodiscard]] std::optional<std::int64_t> nextTime() const;
  /// The events that were due before now.
  [[nodiscard]] Batch past() const;
  [[nodiscard]] Batch events() const;

 private:
  ZVRecordedMessages events_;
  std::vector<std::int64_t> times_;  // of the events, ascending
  std::size_t next_ = 0;
};

}  // namespace zavelo

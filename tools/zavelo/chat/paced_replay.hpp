#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "zavelo/messaging/chat_replay.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo::command {

/// Plays a recorded chat on its time line: each event when its moment has come. Times are
/// milliseconds. Lives on its queue.
class PacedReplay : public std::enable_shared_from_this<PacedReplay> {
 public:
  struct Pace {
    double speed = 1;                  ///< 10 is ten times as fast; infinite: all at once
    std::optional<std::int64_t> from;  ///< absent: the first event that has a time
  };
  struct Heard {
    std::function<void(const ZVStreamMessage&)> event;
    std::function<void()> moment;  ///< after the events of a moment, and now and then between them
    std::function<void()> end;
  };

  [[nodiscard]] static std::shared_ptr<PacedReplay> create(ZVRecordedMessages events, Pace pace,
                                                           std::shared_ptr<Queue> queue,
                                                           std::shared_ptr<const Clock> clock);
  void start(Heard heard);
  /// Nothing is heard any more.
  void stop();

  void togglePause();
  /// Forwards without what lies between, or back, where it is due again; not past the recording.
  void seekBy(std::int64_t milliseconds);
  void setSpeed(double speed);
  [[nodiscard]] bool isPaused() const { return isPaused_; }
  [[nodiscard]] double speed() const { return speed_; }

  /// Where the time line begins, is and ends.
  [[nodiscard]] std::int64_t begin() const { return begin_; }
  [[nodiscard]] std::int64_t position() const;
  [[nodiscard]] std::int64_t end() const { return end_; }

 private:
  PacedReplay(ZVRecordedMessages events, Pace pace, std::shared_ptr<Queue> queue,
              std::shared_ptr<const Clock> clock);
  void play();
  /// Time goes on from here.
  void continueAt(std::int64_t position);
  [[nodiscard]] std::chrono::milliseconds untilNext() const;

  ZVChatReplay replay_;
  double speed_;
  const std::shared_ptr<Queue> queue_;
  const std::shared_ptr<const Clock> clock_;
  std::int64_t begin_ = 0;
  std::int64_t end_ = 0;
  std::int64_t first_ = 0;  // the earliest that can be sought
  // Where the time line was at that time; it has gone on since unless it is paused.
  std::int64_t reached_ = 0;
  std::chrono::nanoseconds reachedAt_{0};
  Heard heard_;
  std::shared_ptr<DelayedTask> tick_;
  bool isPaused_ = false;
  bool isStopped_ = false;
};

}  // namespace zavelo::command

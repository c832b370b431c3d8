#include "tools/zavelo/chat/paced_replay.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

namespace zavelo::command {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

// How often a moment is told of while nothing is due.
constexpr std::chrono::milliseconds beat{200};

}  // namespace

std::shared_ptr<PacedReplay> PacedReplay::create(ZVRecordedMessages events, Pace pace,
                                                 std::shared_ptr<Queue> queue,
                                                 std::shared_ptr<const Clock> clock) {
  return std::shared_ptr<PacedReplay>(
      new PacedReplay(std::move(events), pace, std::move(queue), std::move(clock)));
}

PacedReplay::PacedReplay(ZVRecordedMessages events, Pace pace, std::shared_ptr<Queue> queue,
                         std::shared_ptr<const Clock> clock)
    : replay_(std::move(events)),
      speed_(pace.speed),
      queue_(std::move(queue)),
      clock_(std::move(clock)) {
  const auto all = replay_.events();
  const auto timed = std::ranges::find_if(all, [](const auto& e) { return !!e->recordedTime; });
  if (timed != all.end()) {
    begin_ = *(*timed)->recordedTime;
    end_ = *all.back()->recordedTime;
  }
  first_ = begin_;
  if (!pace.from) return;
  begin_ = *pace.from;
  first_ = std::min(first_, begin_);
  end_ = std::max(begin_, end_);
  replay_.seek(begin_);
}

void PacedReplay::start(Heard heard) {
  heard_ = std::move(heard);
  continueAt(begin_);
}

void PacedReplay::stop() {
  isStopped_ = true;
}

void PacedReplay::togglePause() {
  const auto here = position();
  isPaused_ = !isPaused_;
  continueAt(here);
}

// In unsigned numbers, as a recording may hold any two times.
void PacedReplay::seekBy(std::int64_t milliseconds) {
  const auto here = static_cast<std::uint64_t>(position());
  const bool isBack = milliseconds < 0;
  const auto edge = static_cast<std::uint64_t>(isBack ? first_ : end_);
  const auto wanted = static_cast<std::uint64_t>(milliseconds);
  const auto to = static_cast<std::int64_t>(isBack ? here - std::min(0 - wanted, here - edge)
                                                   : here + std::min(wanted, edge - here));
  begin_ = std::min(begin_, to);
  replay_.seek(to);
  continueAt(to);
}

void PacedReplay::setSpeed(double speed) {
  const auto here = position();
  speed_ = speed;
  continueAt(here);
}

void PacedReplay::continueAt(std::int64_t position) {
  reached_ = position;
  reachedAt_ = clock_->sinceBoot();
  play();
}

std::int64_t PacedReplay::position() const {
  if (isPaused_) return reached_;
  const auto begin = static_cast<std::uint64_t>(reached_);
  const std::uint64_t span = static_cast<std::uint64_t>(end_) - begin;
  const double passed = Milliseconds(clock_->sinceBoot() - reachedAt_).count() * speed_;
  // An infinite speed makes no number of no time at all.
  if (std::isinf(speed_) || passed >= static_cast<double>(span)) return end_;
  return static_cast<std::int64_t>(begin + static_cast<std::uint64_t>(passed));
}

std::chrono::milliseconds PacedReplay::untilNext() const {
  const double away =
      static_cast<double>(replay_.nextTime().value_or(end_)) - static_cast<double>(position());
  const double wait = std::clamp(std::ceil(away / speed_), 1.0, static_cast<double>(beat.count()));
  return std::chrono::milliseconds(static_cast<std::int64_t>(wait));
}

void PacedReplay::play() {
  if (const auto waiting = std::exchange(tick_, nullptr)) waiting->cancel();
  if (isStopped_) return;
  for (const auto& event : isPaused_ ? ZVChatReplay::Batch() : replay_.advance(position())) {
    heard_.event(*event);
    if (isStopped_) return;
  }
  heard_.moment();
  if (isPaused_) return;
  if (!replay_.nextTime()) return heard_.end();
  tick_ = queue_->postAfter(untilNext(), [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->play();
  });
}

}  // namespace zavelo::command

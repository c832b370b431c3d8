#include "zavelo/ui/timer_label.hpp"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "zavelo/platform/platform.hpp"

namespace zavelo {
namespace {

std::int64_t wholeSeconds(double seconds) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (seconds >= -limit && seconds < limit) return static_cast<std::int64_t>(seconds);
  std::fputs("ZVTimerLabel: the time is not a number of seconds within 64 bits\n", stderr);
  std::abort();
}

template <class... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
  std::array<char, 80> text{};
  const int size = std::snprintf(text.data(), text.size(), format, numbers...);
  return {text.data(), static_cast<std::size_t>(size)};
}

// A period that no clock can keep is cut to one that it can.
std::chrono::nanoseconds periodOf(double seconds) {
  constexpr double longest = 1e9;
  if (!(seconds > 0)) return RepeatingTimer::shortestPeriod;
  return std::chrono::round<std::chrono::nanoseconds>(
      std::chrono::duration<double>(std::min(seconds, longest)));
}

}  // namespace

std::string ZVTimerLabel::text(double totalSeconds, TimeStyle style) {
  const std::int64_t seconds = wholeSeconds(totalSeconds);
  switch (style) {
    case TimeStyle::full:
      return formatted("%02" PRId64 ":%02" PRId64 ":%02" PRId64, seconds / 3600,
                       seconds % 3600 / 60, seconds % 60);
    case TimeStyle::medium:
      return formatted("%02" PRId64 ":%02" PRId64, seconds / 60, seconds % 60);
    case TimeStyle::minimal:
      break;
  }
  return std::to_string(seconds);
}

std::shared_ptr<ZVTimerLabel> ZVTimerLabel::create(Collaborators collaborators) {
  if (!collaborators.mainQueue) collaborators.mainQueue = platform::mainQueue();
  if (!collaborators.runLoop) collaborators.runLoop = collaborators.mainQueue;
  if (!collaborators.clock) collaborators.clock = platform::clock();
  return std::shared_ptr<ZVTimerLabel>(new ZVTimerLabel(std::move(collaborators)));
}

ZVTimerLabel::ZVTimerLabel(Collaborators collaborators) : with_(std::move(collaborators)) {}

// The timer does not keep the label alive, and ends once the label is gone.
std::shared_ptr<RepeatingTimer> ZVTimerLabel::schedule(double seconds) {
  return RepeatingTimer::schedule(with_.runLoop, with_.clock, periodOf(seconds),
                                  [weak = weak_from_this()] {
                                    const auto label = weak.lock();
                                    if (label) label->tick();
                                    return label != nullptr;
                                  });
}

void ZVTimerLabel::start() {
  const std::lock_guard lock(mutex_);
  timer_ = schedule(timerInterval_);
}

void ZVTimerLabel::stop() {
  const std::lock_guard lock(mutex_);
  if (timer_) timer_->invalidate();
  timer_ = nullptr;
}

void ZVTimerLabel::reset() {
  setTotalSeconds(0);
  showSoon();
}

bool ZVTimerLabel::isRunning() const {
  const std::lock_guard lock(mutex_);
  return timer_ != nullptr;
}

double ZVTimerLabel::timerInterval() const {
  const std::lock_guard lock(mutex_);
  return timerInterval_;
}

void ZVTimerLabel::setTimerInterval(double seconds) {
  const std::lock_guard lock(mutex_);
  timerInterval_ = seconds;
  if (!timer_) return;
  timer_->invalidate();
  timer_ = schedule(seconds);
}

ZVTimerLabel::TimeStyle ZVTimerLabel::timeStyle() const {
  const std::lock_guard lock(mutex_);
  return timeStyle_;
}

void ZVTimerLabel::setTimeStyle(TimeStyle style) {
  {
    const std::lock_guard lock(mutex_);
    timeStyle_ = style;
  }
  show();
}

double ZVTimerLabel::totalSeconds() const {
  const std::lock_guard lock(mutex_);
  return totalSeconds_;
}

void ZVTimerLabel::setTotalSeconds(double seconds) {
  const std::lock_guard lock(mutex_);
  totalSeconds_ = seconds;
}

void ZVTimerLabel::tick() {
  {
    const std::lock_guard lock(mutex_);
    totalSeconds_ += timerInterval_;
  }
  showSoon();
}

void ZVTimerLabel::showSoon() {
  with_.mainQueue->post([weak = weak_from_this()] {
    if (const auto label = weak.lock()) label->show();
  });
}

void ZVTimerLabel::show() {
  with_.label->setText(text(totalSeconds(), timeStyle()));
}

}  // namespace zavelo

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/queue.hpp"
#include "zavelo/platform/repeating_timer.hpp"
#include "zavelo/platform/text_label.hpp"

namespace zavelo {

/// Counts time upward and shows it in a label of the app's toolkit.
///
///     auto clock = ZVTimerLabel::create({.label = myLabel});
///     clock->start();
///
/// The text changes with a tick, with `reset` and with a new style, and not before: a new label
/// shows nothing. Meant for one thread; its fields may be read from any.
class ZAVELO_EXPORT ZVTimerLabel : public std::enable_shared_from_this<ZVTimerLabel> {
 public:
  /// How 3725 seconds are shown.
  enum class TimeStyle : std::int64_t {
    full = 0,     ///< 01:02:05; hours are not limited to two digits
    medium = 1,   ///< 62:05; minutes do not turn into hours
    minimal = 2,  ///< 3725
  };

  struct Collaborators {
    std::shared_ptr<TextLabel> label = {};
    std::shared_ptr<Queue> mainQueue{};    ///< where the text is set; the platform's if left out
    std::shared_ptr<Queue> runLoop{};      ///< where time is counted; the main queue if left out
    std::shared_ptr<const Clock> clock{};  ///< the platform's if left out
  };

  [[nodiscard]] static std::shared_ptr<ZVTimerLabel> create(Collaborators collaborators);

  /// Counts from now on. A second start leaves the first one counting as well: time then goes twice
  /// as fast, and `stop` ends the later count alone.
  void start();
  /// Time and text stay. Harmless when nothing runs.
  void stop();
  /// Back to 0; a label that runs counts on from there.
  void reset();
  [[nodiscard]] bool isRunning() const;

  /// Seconds between two ticks, and what each adds; at first 1.
  [[nodiscard]] double timerInterval() const;
  /// A label that runs goes on with the new period.
  void setTimerInterval(double seconds);

  [[nodiscard]] TimeStyle timeStyle() const;
  /// Shows the text in the new style before it returns, on the calling thread.
  void setTimeStyle(TimeStyle style);

  [[nodiscard]] double totalSeconds() const;
  /// Shown with the next tick. Must be finite and within 64 bits when it is shown: the process ends
  /// otherwise.
  void setTotalSeconds(double seconds);

  /// The text of that time, truncated to whole seconds; a negative one keeps a sign in each part.
  [[nodiscard]] static std::string text(double totalSeconds, TimeStyle style);

 private:
  explicit ZVTimerLabel(Collaborators collaborators);

  std::shared_ptr<RepeatingTimer> schedule(double seconds);
  void tick();
  void showSoon();
  void show();

  const Collaborators with_;
  mutable std::mutex mutex_;  // guards what follows
  std::shared_ptr<RepeatingTimer> timer_;
  double timerInterval_ = 1;
  TimeStyle timeStyle_ = TimeStyle::full;
  double totalSeconds_ = 0;
};

template <>
inline constexpr auto codedCases<ZVTimerLabel::TimeStyle> =
    caseTable<ZVTimerLabel::TimeStyle::full, ZVTimerLabel::TimeStyle::medium,
              ZVTimerLabel::TimeStyle::minimal>();

}  // namespace zavelo

#include "zavelo/ui/timer_label.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"

namespace zavelo {
namespace {

using std::chrono::milliseconds;
using Style = ZVTimerLabel::TimeStyle;

class ShownText final : public TextLabel {
 public:
  void setText(const std::string& text) override { shown = text; }
  std::string shown;
};

class TimerLabel : public ::testing::Test {
 protected:
  void pass(milliseconds time) {
    for (; time.count() > 0; time -= milliseconds(100)) {
      clock->advance(milliseconds(100));
      queue->advance(milliseconds(100));
    }
  }

  const std::shared_ptr<testing::ManualQueue> queue = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<testing::ManualClock> clock = std::make_shared<testing::ManualClock>();
  const std::shared_ptr<ShownText> text = std::make_shared<ShownText>();
  std::shared_ptr<ZVTimerLabel> label =
      ZVTimerLabel::create({.label = text, .mainQueue = queue, .clock = clock});
};

TEST(TimerLabelText, IsTruncatedAndNeverClamped) {
  EXPECT_EQ(ZVTimerLabel::text(3725, Style::full), "01:02:05");
  EXPECT_EQ(ZVTimerLabel::text(3725, Style::medium), "62:05");
  EXPECT_EQ(ZVTimerLabel::text(3725, Style::minimal), "3725");
  EXPECT_EQ(ZVTimerLabel::text(59.9, Style::full), "00:00:59");
  EXPECT_EQ(ZVTimerLabel::text(360000, Style::full), "100:00:00");
  EXPECT_EQ(ZVTimerLabel::text(-61, Style::medium), "-1:-1");
  EXPECT_DEATH(ZVTimerLabel::text(std::numeric_limits<double>::quiet_NaN(), Style::full),
               "64 bits");
  EXPECT_DEATH(ZVTimerLabel::text(0x1p63, Style::minimal), "64 bits");
}

TEST_F(TimerLabel, ShowsNothingBeforeATickAndKeepsItsTextWhenItStops) {
  label->stop();
  label->start();
  EXPECT_TRUE(label->isRunning());
  EXPECT_EQ(text->shown, "");
  pass(milliseconds(2'900));
  EXPECT_EQ(text->shown, "00:00:02");
  label->stop();
  pass(milliseconds(5'000));
  EXPECT_EQ(text->shown, "00:00:02");
  label->reset();
  EXPECT_EQ(text->shown, "00:00:02") << "soon, not at once";
  queue->runDue();
  EXPECT_EQ(text->shown, "00:00:00");
  EXPECT_FALSE(label->isRunning());
}

TEST_F(TimerLabel, StartedTwiceCountsTwiceAndStopsOnce) {
  label->start();
  label->start();
  pass(milliseconds(1'000));
  EXPECT_EQ(label->totalSeconds(), 2);
  label->stop();
  pass(milliseconds(1'000));
  EXPECT_EQ(label->totalSeconds(), 3) << "the first count goes on";
}

TEST_F(TimerLabel, TakesANewPeriodAndStyleWhileItRuns) {
  label->setTimerInterval(2);
  EXPECT_FALSE(label->isRunning());
  label->start();
  label->setTimerInterval(0.5);
  pass(milliseconds(1'000));
  EXPECT_EQ(label->totalSeconds(), 1);
  label->setTimeStyle(Style::minimal);
  EXPECT_EQ(text->shown, "1");
}

TEST_F(TimerLabel, KeepsToItsMomentsAndEndsWithTheLabel) {
  label->start();
  clock->advance(milliseconds(3'300));  // the device slept
  queue->advance(milliseconds(1'000));
  EXPECT_EQ(label->totalSeconds(), 1) << "what was missed is not made up for";
  clock->advance(milliseconds(700));
  queue->advance(milliseconds(700));
  EXPECT_EQ(label->totalSeconds(), 2) << "at the fourth second";
  label.reset();
  pass(milliseconds(1'000));
  EXPECT_EQ(queue->pending(), 0u);
}

}  // namespace
}  // namespace zavelo

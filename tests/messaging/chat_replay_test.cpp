#include "zavelo/messaging/chat_replay.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace zavelo {
namespace {

std::shared_ptr<ZVStreamMessage> event(std::string name, std::optional<std::int64_t> time) {
  ZVStreamMessageFields fields;
  fields.message = std::move(name);
  fields.recordedTime = time;
  return std::make_shared<ZVStreamMessage>(std::move(fields));
}

ZVChatReplay chat() {
  return ZVChatReplay({event("c", 5000), event("d", 9000), event("a", {}), event("c2", 5000),
                       event("b", -2000), nullptr});
}

std::string names(ZVChatReplay::Batch batch) {
  std::string text;
  for (const auto& each : batch) text += *each->message + " ";
  return text;
}

TEST(ChatReplay, MakesEachEventDueOnceInTheOrderOfTime) {
  auto replay = chat();
  EXPECT_EQ(names(replay.events()), "a b c c2 d ");
  EXPECT_EQ(names(replay.advance(-1)), "a b ");
  EXPECT_EQ(replay.nextTime(), 5000);
  EXPECT_EQ(names(replay.advance(4999)), "");
  EXPECT_EQ(names(replay.advance(5000)), "c c2 ");
  EXPECT_EQ(names(replay.advance(5000)), "");
  EXPECT_EQ(names(replay.advance(std::numeric_limits<std::int64_t>::max())), "d ");
  EXPECT_EQ(replay.nextTime(), std::nullopt);
  EXPECT_EQ(names(replay.past()), "a b c c2 d ");
}

TEST(ChatReplay, GoesBackOnlyByASeek) {
  auto replay = chat();
  replay.advance(9000);
  EXPECT_EQ(names(replay.advance(0)), "");
  replay.seek(5000);
  EXPECT_EQ(names(replay.past()), "a b ");
  EXPECT_EQ(names(replay.advance(5000)), "c c2 ");
}

TEST(ChatReplay, LeavesOutWhatASeekJumpsOver) {
  auto replay = chat();
  replay.seek(9000);
  EXPECT_EQ(names(replay.past()), "a b c c2 ");
  EXPECT_EQ(names(replay.advance(8999)), "");
  EXPECT_EQ(names(replay.advance(9000)), "d ");
  replay.seek(10'000);
  EXPECT_EQ(names(replay.advance(20'000)), "");
  EXPECT_EQ(names(ZVChatReplay({}).advance(0)), "");
}

TEST(ChatReplay, EventsOfAnyOrderAreSortedByTimeAndStableAmongEqualTimes) {
  using Times = std::vector<std::optional<std::int64_t>>;
  for (const Times& times : std::vector<Times>{{1, 2, 2, 3, 2, 2, 4},    // two runs, as decoded
                                               {1, 2, {}, 3, 1, {}, 0},  // more runs than two
                                               {3, 2, 1, 1},
                                               {1, 1, 2}}) {
    ZVRecordedMessages events;
    for (const auto& time : times) events.push_back(event(std::to_string(events.size()), time));
    auto expected = events;
    std::ranges::stable_sort(expected, {}, [](const auto& each) { return each->recordedTime; });
    ZVChatReplay replay(events);
    EXPECT_TRUE(std::ranges::equal(replay.events(), expected));
    EXPECT_EQ(replay.nextTime(),
              expected[0]->recordedTime.value_or(std::numeric_limits<std::int64_t>::min()));
    replay.advance(1);
    EXPECT_EQ(replay.past().size(), static_cast<std::size_t>(std::ranges::count_if(
                                        times, [](auto time) { return time.value_or(0) <= 1; })));
  }
}

}  // namespace
}  // namespace zavelo

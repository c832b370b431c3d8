#include "zavelo/messaging/chat_replay.hpp"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace zavelo

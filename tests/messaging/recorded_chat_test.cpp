#include "zavelo/messaging/recorded_chat.hpp"

#include <gtest/gtest.h>

#include "tests/support/recorded_log.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo {
namespace {

using testing::RecordedLog;

ZVRecordedMessages decoded(std::string text) {
  return ZVRecordedMessageDecoder(std::move(text)).decode();
}

TEST(RecordedChat, PutsPollsBehindAllOtherEventsAndSortsNothing) {
  const auto log = RecordedLog::install();
  const auto events =
      decoded(R"([{"messageType":1,"message":"hello","recordedTime":5000},)"
              R"({"messageType":413,"recordedTime":2000,"pollData":{"id":7,"option1":"yes"}},)"
              R"({"messageType":3,"recordedTime":9000},{"recordedTime":1},)"
              R"({"messageType":414,"recordedTime":100,"pollData":null}])");
  std::vector<std::int64_t> times;
  for (const auto& event : events) times.push_back(event->recordedTime.value());
  EXPECT_EQ(times, (std::vector<std::int64_t>{5000, 9000, 1, 2000, 100}));
  EXPECT_EQ(events.at(0)->message, "hello");
  const auto poll = std::dynamic_pointer_cast<ZVPollMessage>(events.at(3));
  ASSERT_TRUE(poll);
  EXPECT_EQ(poll->pollData->option1, "yes");
  EXPECT_TRUE(decoded("[]").empty());
  EXPECT_TRUE(log->entries().empty());
}

TEST(RecordedChat, HasPlainEventsForAllButPolls) {
  for (const auto& event :
       decoded(R"([{"messageType":7,"giftId":"a text"},{"messageType":2,"totalViewers":1},)"
               R"({"messageType":999},{"messageType":1,"pollData":{"id":1}}])"))
    EXPECT_EQ(event->toJsonString()->find(R"({"senderUserId":null)"), 0u);
}

TEST(RecordedChat, IsLostAsAWholeByOneWrongValue) {
  const auto log = RecordedLog::install();
  EXPECT_TRUE(decoded(R"([{},{"senderUserId":"42"}])").empty());
  const auto entries = log->entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0], "Error: [1].senderUserId: expected integer");
  EXPECT_NE(entries[1].find("[\u203C\uFE0F]"), std::string::npos);
  EXPECT_NE(entries[1].find("decode() -> [1].senderUserId: expected integer"), std::string::npos);

  for (const char* text :
       {"", "{}", "null", "[null]", "[{}", "[{}]]", "[\"\xFF\"]",
        R"([{"messageType":1,"pollData":[]}])", R"([{"messageType":1,"pollData":{"id":"7"}}])"})
    EXPECT_TRUE(decoded(text).empty()) << text;
  EXPECT_EQ(log->entries().size(), 2u + 2 * 9);
}

}  // namespace
}  // namespace zavelo

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/messaging/fixed_user.hpp"
#include "tests/support/fault_of.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"

namespace zavelo {
namespace {

using namespace std::string_literals;
using test::FixedUser;

/// The record as a receiver gets it.
std::shared_ptr<ZVStreamMessage> received(const ZVStreamMessage& sent) {
  const auto wire = ZVMessage(sent).toJsonString();
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(wire.value());
  return envelope ? (*envelope)->getStreamMessage() : nullptr;
}

std::shared_ptr<ZVStreamMessage> opened(std::int64_t type, std::string text) {
  ZVMessage envelope;
  envelope.type = type;
  envelope.message = std::move(text);
  return envelope.getStreamMessage();
}

TEST(Envelope, CarriesARecordAsJsonInsideJson) {
  ZVStreamMessage record;
  record.senderUserId = 42;
  record.senderUserName = "ann";
  record.senderDisplayName = "Ann";
  record.messageType = 1;
  record.message = "hello";
  EXPECT_EQ(*ZVMessage(record).toJsonString(),
            R"({"type":1,"message":"{\"senderUserId\":42,\"senderUserName\":\"ann\",)"
            R"(\"senderDisplayName\":\"Ann\",\"senderAvatar\":null,\"messageType\":1,)"
            R"(\"message\":\"hello\",\"shouldShowLikeMessage\":null,\"recordedTime\":null,)"
            R"(\"receiverStars\":null,\"targetUsername\":null}"})");
}

TEST(Envelope, BringsEveryKindThroughUnchangedWhateverItSays) {
  // Quotes, a backslash, controls, NUL, an astral character, a combining mark, text that looks
  // like the envelope itself.
  const auto text = "\"\\\x01\t\0 \U0001F525 e\u0301 {\"type\":7,\"message\":\"\"}"s;
  for (const auto& kind : codedCases<ZVMessageType>) {
    const auto sent = ZVStreamMessageFactory(kind.value)
                          .createMessage(text, std::numeric_limits<std::int64_t>::min(),
                                         FixedUser::member(42, text));
    const auto got = received(*sent);
    ASSERT_TRUE(got) << kind.name;
    EXPECT_EQ(got->type(), kind.value);
    EXPECT_EQ(got->message, text);
    EXPECT_EQ(got->toJsonString(), [&] {
      if (kind.value != ZVMessageType::startPoll && kind.value != ZVMessageType::stopPoll)
        return sent->toJsonString();
      return std::optional(std::string(R"({"pollData":null,)") + sent->toJsonString()->substr(1));
    }()) << kind.name;
  }
}

TEST(Envelope, BringsTheFieldsOfEachClassThrough) {
  const std::string base =
      R"("senderUserId":1,"senderUserName":"u","senderDisplayName":"d","senderAvatar":"a",)"
      R"("messageType":2,"message":"m","shouldShowLikeMessage":true,"recordedTime":3,)"
      R"("receiverStars":4,"targetUsername":"t"})";
  const auto expectKept = [&](std::int64_t type, const std::string& own) {
    const auto record = opened(type, own + base);
    ASSERT_TRUE(record) << own;
    EXPECT_EQ(record->toJsonString(), own + base);
  };
  expectKept(1, "{");
  expectKept(2, R"({"slug":"s","streamDuration":1,"totalViewers":2,"totalLikes":3,)"
                R"("totalReceivedStars":4,"gender":5,"isShowLike":true,"isShowView":false,)"
                R"("promoCode":"p","promoCodeDescription":"q","placingOrderCount":6,)"
                R"("cartUrl":"c","bitRate":7,"maxBitRate":8,)");
  expectKept(6, R"({"content":"c","streamTitleColor":"#fff","position":{"x":0.25,"y":1.0},)");
  expectKept(7, R"({"giftId":1,"giftName":"n","giftImageLink":"i","giftAnimationType":7,)"
                R"("giftFile":"f","giftCount":2,"isCompleted":false,)");
  expectKept(413, R"({"pollData":{"id":1,"title":"t","question":"q","option1":"a",)"
                  R"("option2":"b","option3":"c","status":1,"numOption1":1,"numOption2":2,)"
                  R"("numOption3":3,"total":6},)");
  expectKept(414, R"({"pollData":null,)");
}

TEST(Envelope, ChoosesTheClassByItsOwnTypeAlone) {
  const std::string poll = R"({"messageType":1,"pollData":{"id":1}})";
  EXPECT_TRUE(std::dynamic_pointer_cast<ZVPollMessage>(opened(413, poll)));
  for (const std::int64_t type : {1, 999, -5}) {
    const auto record = opened(type, R"({"messageType":413,"pollData":{"id":1}})");
    ASSERT_TRUE(record) << type;
    EXPECT_EQ(dynamic_cast<ZVPollMessage*>(record.get()), nullptr);
    EXPECT_EQ(record->type(), ZVMessageType::startPoll);
  }
  EXPECT_EQ(ZVMessage(ZVStreamMessage()).type, 1);
}

TEST(Envelope, YieldsNothingForATextThatIsNoRecordOfTheClass) {
  for (const char* text : {"", "hello", "[]", "null", "{", R"({"senderUserId":"1"})"})
    EXPECT_EQ(opened(1, text), nullptr) << text;
  EXPECT_EQ(opened(7, R"({"giftId":"1"})"), nullptr);
  EXPECT_NE(opened(1, R"({"giftId":"1"})"), nullptr);
  EXPECT_EQ(opened(413, R"({"pollData":[]})"), nullptr);
  EXPECT_EQ(opened(1, std::string(10'000, '[')), nullptr);
}

TEST(Envelope, MustHaveBothKeys) {
  using Envelope = std::shared_ptr<ZVMessage>;
  EXPECT_EQ(faultOf<Envelope>(R"({"message":""})"), "type: missing");
  EXPECT_EQ(faultOf<Envelope>(R"({"type":1})"), "message: missing");
  EXPECT_EQ(faultOf<Envelope>(R"({"type":"1","message":""})"), "type: expected integer");
  EXPECT_EQ(faultOf<Envelope>(R"({"type":1,"message":{}})"), "message: expected text");
  EXPECT_EQ(faultOf<Envelope>(R"({"type":999,"message":"x","more":null})"), "");
}

TEST(Envelope, IsEmptyForARecordThatJsonCannotSay) {
  ZVFloatingTextMessage record;
  record.messageType = rawValue(ZVMessageType::floatingText);
  record.position = std::make_shared<ZVFloatingTextPosition>();
  record.position->x = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(record.toJsonString(), std::nullopt);
  EXPECT_EQ(*ZVMessage(record).toJsonString(), R"({"type":6,"message":""})");
}

TEST(StatisticMessage, KeepsTheUploadRateToItself) {
  const auto record =
      std::dynamic_pointer_cast<ZVStatisticMessage>(opened(2, R"({"uploadBitRate":"fast"})"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->uploadBitRate, std::nullopt);
  record->uploadBitRate = 2.5;
  EXPECT_EQ(record->toJsonString()->find("upload"), std::string::npos);
}

}  // namespace
}  // namespace zavelo

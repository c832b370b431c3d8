#include "tools/zavelo/chat/chat_line.hpp"

#include <gmock/gmock.h>

#include "tests/messaging/fixed_user.hpp"
#include "tools/zavelo/chat/chat_message.hpp"
#include "tools/zavelo/chat/message_inspection.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo::command {
namespace {

using test::FixedUser;
using ::testing::HasSubstr;
using ::testing::StartsWith;

json::Object objectOf(const char* text) {
  return *json::decode<json::Value>(text)->as<json::Object>();
}

/// The line of an event of Ann's with those fields; else what is wrong with them.
std::string lineOf(ZVMessageType type, const char* fields) {
  const auto event = chatMessage(type, objectOf(fields), FixedUser::member(7, "Ann"));
  if (!event) return event.error().argument + ": " + event.error().reason;
  return eventLine("c", rawValue(type), **event).text;
}

TEST(ChatLine, SaysWhatAnEventOfAnyKindIsAbout) {
  using enum ZVMessageType;
  EXPECT_EQ(lineOf(message, R"({"message":"a\nb\u001b"})"), "Ann: a\\x0ab\\x1b");
  EXPECT_EQ(lineOf(like, "{}"), "[like] Ann");
  EXPECT_EQ(lineOf(hostMuted, R"({"targetUsername":"bob","message":"too loud"})"),
            "[host muted] Ann > bob: too loud");
  EXPECT_EQ(lineOf(gift, R"({"giftName":"Rose","giftCount":3})"), "[gift] Ann: 3 x Rose");
  EXPECT_EQ(lineOf(gift, R"({"giftId":5})"), "[gift] Ann: 1 x gift 5");
  EXPECT_EQ(lineOf(statistic, R"({"totalViewers":12,"totalLikes":40})"),
            "[statistic] Ann: 12 viewers, 40 likes");
  EXPECT_EQ(lineOf(floatingText, R"({"content":"SALE","position":{"x":0.5,"y":1}})"),
            "[floating text] Ann: SALE at 0.5, 1.0");
  EXPECT_EQ(lineOf(startPoll, R"({"pollData":{"question":"Best?","option1":"A","option3":"C",
                                  "numOption1":1,"total":3}})"),
            "[start poll] Ann: Best? | 1 A: 1 (33%) | 3 C: 0 (0%)");
  EXPECT_EQ(eventLine("c", 999, ZVStreamMessage()).text, "[999] somebody");
}

TEST(ChatLine, GivesAProgramTheChannelTheKindAndTheFields) {
  ZVStreamMessage event;
  event.message = "hi";
  event.senderUserId = 7;
  EXPECT_THAT(eventLine("c", 3, event, "7").json,
              StartsWith(R"({"channel":"c","kind":"like","senderId":"7",)"));
  EXPECT_THAT(eventLine("c", 3, event, "8").text, StartsWith("(really from 8) "));
  EXPECT_THAT(eventLine("c", 3, event).json,
              StartsWith(R"({"channel":"c","kind":"like","senderUserId":7,)"));
  EXPECT_THAT(eventLine("", 3, event).json, StartsWith(R"({"kind":"like",)"));
  EXPECT_EQ(undecodableLine("c", "\xff", "invalid UTF-8").json,
            R"({"channel":"c","kind":"undecodable","fault":"invalid UTF-8"})");
}

TEST(ChatMessage, OfEveryKindArrivesWithItsFieldsAndSender) {
  const auto user = FixedUser::member(7, "Ann");
  for (const auto& kind : codedCases<ZVMessageType>) {
    const auto event =
        chatMessage(kind.value, objectOf(R"({"message":"m","recordedTime":5})"), user);
    ASSERT_TRUE(event) << kind.name;
    const auto arrived = ZVMessage(**event).getStreamMessage();
    ASSERT_TRUE(arrived) << kind.name;
    EXPECT_EQ(arrived->toJsonString(), (*event)->toJsonString());
    EXPECT_EQ(arrived->type(), kind.value);
    EXPECT_EQ(arrived->senderUserId, 7);
    EXPECT_EQ(arrived->recordedTime, 5);
  }
}

TEST(ChatMessage, RefusesFieldsOfOtherKindsAndOfWrongTypes) {
  using enum ZVMessageType;
  EXPECT_EQ(lineOf(like, R"({"giftId":5})"), "giftId: events of the kind like have no such field");
  EXPECT_EQ(lineOf(gift, R"({"giftId":"5"})"), "giftId: expected integer");
  EXPECT_EQ(lineOf(floatingText, R"({"position":{"x":"0"}})"), "position: x: expected number");
}

TEST(Inspection, NamesTheFirstFaultOfEitherLayer) {
  const auto faultOf = [](const std::string& text) { return inspect(text).fault.value_or("none"); };
  EXPECT_EQ(faultOf(R"({"type":999,"message":"{}"})"), "none");
  EXPECT_EQ(faultOf(R"({"type":"1","message":"{}"})"), "type: expected integer");
  EXPECT_EQ(faultOf(R"({"type":1})"), "message: missing");
  EXPECT_EQ(faultOf(R"({"type":413,"message":"{\"pollData\":{\"id\":\"x\"}}"})"),
            "message.pollData.id: expected integer");
  EXPECT_THAT(faultOf(R"({"type":1,"message":""})"), HasSubstr("message: "));
  EXPECT_EQ(faultOf("\xff"), "invalid UTF-8");
  const std::string deep(10'000, '[');
  EXPECT_NE(faultOf(deep), "none");
  EXPECT_NE(faultOf(R"({"type":1,"message":")" + deep + "\"}"), "none");
  EXPECT_EQ(
      faultOf(R"({"type":1,"message":"{\"message\":\")" + std::string(1'000'000, 'x') + R"(\"}"})"),
      "none");
}

TEST(Inspection, ShowsTheLayersThatAreSound) {
  const auto inspection = inspect(R"({"type":7,"message":"{\"giftId\":\"x\"}"})");
  EXPECT_EQ(inspection.kind, "gift");
  EXPECT_EQ(inspection.record, json::Value(json::Object{{"giftId", "x"}}));
  EXPECT_EQ(inspect("[1]").envelope, json::Value(json::Array{1}));
}

}  // namespace
}  // namespace zavelo::command

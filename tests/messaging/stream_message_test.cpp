#include "zavelo/messaging/stream_message.hpp"

#include <gtest/gtest.h>

#include "tests/messaging/fixed_user.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/fresh_library.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"

namespace zavelo {
namespace {

using test::FixedUser;

TEST(MessageType, KeepsItsOddCodesAndTheirDeclaredOrder) {
  const auto& cases = codedCases<ZVMessageType>;
  ASSERT_EQ(cases.size(), 44u);
  EXPECT_EQ(cases[12].value, ZVMessageType::hostUnkicked);
  EXPECT_EQ(rawValue(cases[12].value), 212);
  EXPECT_EQ(cases[20].name, "hostUnpinedMessaged");
  EXPECT_EQ(rawValue(cases[41].value), 2001);
  EXPECT_EQ(rawValue(cases[43].value), 501);
  for (const std::int64_t unused : {-1, 0, 9, 99, 102, 213, 302, 334, 401, 415, 999, 1002, 2002})
    EXPECT_EQ(fromRawValue<ZVMessageType>(unused), std::nullopt) << unused;
}

TEST(StreamMessage, CountsAsAPlainMessageUnlessItsTypeIsAKind) {
  ZVStreamMessage record;
  EXPECT_EQ(record.type(), ZVMessageType::message);
  record.messageType = 9999;
  EXPECT_EQ(record.type(), ZVMessageType::message);
  record.messageType = 414;
  EXPECT_EQ(record.type(), ZVMessageType::stopPoll);
}

TEST(StreamMessage, IsMineOnlyForTheMemberWhoSentIt) {
  ZVStreamMessage record;
  EXPECT_FALSE(record.isMine(FixedUser::member({})));  // two absent ids are not the same id
  record.senderUserId = 42;
  EXPECT_TRUE(record.isMine(FixedUser::member(42)));
  EXPECT_FALSE(record.isMine(FixedUser::member(43)));
  EXPECT_FALSE(record.isMine(FixedUser::guest(42)));
  EXPECT_FALSE(record.isMine(FixedUser::nobody()));
}

TEST(StreamMessage, AsksTheSharedSessionByDefault) {
  ZVPlatform platform;
  platform.store = std::make_shared<testing::MemoryKeyValueStore>();
  const testing::FreshLibrary library(std::move(platform));
  ZVUserService::shared()->setUser(std::make_shared<ZVUser>(*FixedUser::member(42).currentUser()));
  const auto record = ZVStreamMessageFactory(ZVMessageType::share).createMessage("", 0);
  EXPECT_EQ(record->senderUserId, 42);
  EXPECT_TRUE(record->isMine());
}

TEST(StreamMessage, DuplicatesAsAPlainMessage) {
  ZVGiftMessage gift;
  gift.giftId = 1;
  gift.message = "gave a rose";
  gift.messageType = 7;
  const auto copy = gift.duplicate();
  EXPECT_EQ(dynamic_cast<ZVGiftMessage*>(copy.get()), nullptr);
  EXPECT_EQ(static_cast<ZVStreamMessageFields&>(*copy), static_cast<ZVStreamMessageFields&>(gift));
}

TEST(StreamMessageFactory, StampsWhoIsSignedIn) {
  const ZVStreamMessageFactory factory(ZVMessageType::like);
  const auto ofMember = factory.createMessage("hi", 5000, FixedUser::member(42, "Ann"));
  EXPECT_EQ(*ofMember->toJsonString(),
            R"({"senderUserId":42,"senderUserName":null,"senderDisplayName":"Ann",)"
            R"("senderAvatar":null,"messageType":3,"message":"hi","shouldShowLikeMessage":null,)"
            R"("recordedTime":5000,"receiverStars":null,"targetUsername":null})");
  const auto ofGuest = factory.createMessage("", 0, FixedUser::guest(7));
  EXPECT_EQ(ofGuest->senderUserId, 7);
  EXPECT_EQ(ofGuest->senderUserName, "guest-1");
  EXPECT_EQ(ofGuest->senderDisplayName, "");
  EXPECT_EQ(ofGuest->senderAvatar, "");
  const auto ofNobody = factory.createMessage("", 0, FixedUser::nobody());
  EXPECT_EQ(ofNobody->senderUserId, std::nullopt);
  EXPECT_EQ(ofNobody->senderAvatar, std::nullopt);
}

TEST(PollOption, SharesOutTheVotes) {
  ZVPoll poll;
  poll.option1 = "yes";
  poll.option2 = "";
  poll.option3 = "no";
  poll.numOption3 = 1;
  auto options = poll.options();
  ASSERT_EQ(options.size(), 2u);
  EXPECT_EQ(options[0].id, 1);
  EXPECT_EQ(options[0].percent(), 0);
  EXPECT_EQ(options[1].id, 3);
  EXPECT_EQ(options[1].option, "no");
  EXPECT_EQ(options[1].percent(), 0);
  poll.total = 3;
  options = poll.options();
  EXPECT_DOUBLE_EQ(options[1].percent(), 100.0 / 3);
}

}  // namespace
}  // namespace zavelo

#include "tools/zavelo/chat/conversation.hpp"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "support/temporary_folder.hpp"
#include "tests/messaging/fixed_user.hpp"
#include "tools/zavelo/chat/chat_feed.hpp"
#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/scripted_rtm_kit.hpp"

namespace zavelo::command {
namespace {

using namespace std::chrono_literals;
using test::FixedUser;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

/// Somebody at a terminal of their own; all of them share a queue and a clock.
struct Person {
  Person(const std::shared_ptr<Queue>& queue, const std::shared_ptr<const Clock>& clock,
         AgoraRtmKitFactory engine, std::int64_t id, const std::string& name,
         std::optional<ChatRecording> recording = {})
      : user(FixedUser::member(id, name)) {
    const auto notifications = std::make_shared<NotificationCentre>();
    service = ZVRTMService::create({std::move(engine), &user, queue, notifications, clock});
    const auto visit = ChannelVisit::create({service, notifications, queue}, "c");
    talk = Conversation::create({visit, queue, clock, &user, std::move(recording)},
                                {.line =
                                     [this](const ChatLine& line) {
                                       lines.push_back(line.text);
                                       return true;
                                     },
                                 .error = [this](const auto& reason) { errors.push_back(reason); },
                                 .delay = [this](const auto& why) { delays.push_back(why); },
                                 .joined = [] {},
                                 .allSaid = [] {},
                                 .over = [this](bool good) { isGood = good; }});
    talk->start();
  }

  const FixedUser user;
  std::shared_ptr<ZVRTMService> service;
  std::shared_ptr<Conversation> talk;
  std::vector<std::string> lines;
  std::vector<std::string> errors, delays;
  std::optional<bool> isGood;  // once it is over
};

class ConversationTest : public ::testing::Test {
 protected:
  [[nodiscard]] Person person(std::int64_t id, const std::string& name) {
    return {queue_, clock_, hub_->kitFactory(), id, name};
  }

  const std::shared_ptr<testing::ManualQueue> queue_ = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<testing::ManualClock> clock_ = std::make_shared<testing::ManualClock>();
  const std::shared_ptr<InProcessHub> hub_ = InProcessHub::create(queue_);
};

TEST_F(ConversationTest, ShowsWhoIsThereWhatIsSaidAndWhoComesAndGoes) {
  auto ann = person(1, "Ann");
  queue_->advance(1s);
  auto bob = person(2, "Bob");
  queue_->advance(1s);
  ann.talk->say("hi");
  ann.talk->say("");
  bob.talk->say("hello\x1b");
  queue_->advance(1s);
  bob.talk->end();
  queue_->advance(1s);
  EXPECT_THAT(ann.lines, ElementsAre("* joined c", "* here: Ann (1)", "* 2 came", "Ann: hi",
                                     "Bob: hello\\x1b", "* Bob (2) went"));
  EXPECT_THAT(bob.lines,
              ElementsAre("* joined c", "* here: 1 Bob (2)", "Ann: hi", "Bob: hello\\x1b"));
  EXPECT_EQ(bob.isGood, true);
  EXPECT_FALSE(bob.service->isConnected());
  EXPECT_EQ(ann.isGood, std::nullopt);
}

TEST_F(ConversationTest, EndsAfterSoManyEventsOfOthers) {
  auto ann = person(1, "Ann");
  auto bob = person(2, "Bob");
  ann.talk->endAfterEvents(2);
  queue_->advance(1s);
  for (const char* line : {"one", "two", "three"}) bob.talk->say(line);
  bob.talk->say("four");
  queue_->advance(1s);
  EXPECT_EQ(ann.isGood, true);
  EXPECT_THAT(ann.lines, ElementsAre("* joined c", "* here: Ann (1) 2", "Bob: one", "Bob: two"));
}

TEST_F(ConversationTest, FailsWhenTheUserSignsInElsewhere) {
  auto ann = person(1, "Ann");
  queue_->advance(1s);
  auto again = person(1, "Ann");
  queue_->advance(1s);
  EXPECT_EQ(ann.isGood, false);
  EXPECT_THAT(ann.errors, ElementsAre("signed in elsewhere"));
  EXPECT_EQ(again.isGood, std::nullopt);
}

TEST_F(ConversationTest, ShowsWhatIsNoEventAndGoesOn) {
  auto ann = person(1, "Ann");
  auto bob = person(2, "Bob");
  queue_->advance(1s);
  bob.service->writeChannel("c", "\xff");
  bob.service->writeChannel("c", R"({"type":7,"message":"{\"giftId\":\"x\"}"})");
  bob.service->writeChannel("c", R"({"type":999,"message":"{\"message\":\"new\"}"})");
  queue_->advance(1s);
  ann.lines.erase(ann.lines.begin(), ann.lines.begin() + 2);
  EXPECT_THAT(ann.lines, ElementsAre("[undecodable] invalid UTF-8: \xff",
                                     "[undecodable] message.giftId: expected integer: "
                                     "{\"type\":7,\"message\":\"{\\\"giftId\\\":\\\"x\\\"}\"}",
                                     "[999] somebody: new"));
  EXPECT_EQ(ann.isGood, std::nullopt);
}

TEST_F(ConversationTest, SavesWhatWasSaidOnATimeLineThatBeginsAtTheJoining) {
  const test::TemporaryFolder folder;
  const auto path = (folder / "chat.json").string();
  auto recording = ChatRecording::create(path);
  ASSERT_TRUE(recording);
  EXPECT_FALSE(ChatRecording::create(path)) << "never over a chat that is there";
  clock_->advance(50s);
  Person ann(queue_, clock_, hub_->kitFactory(), 1, "Ann", std::move(*recording));
  auto bob = person(2, "Bob");
  queue_->advance(1s);
  const auto saved = [&] {
    std::ifstream file(path);
    std::string text;
    for (const auto& event :
         ZVRecordedMessageDecoder({std::istreambuf_iterator<char>(file), {}}).decode())
      text += std::to_string(event->recordedTime.value()) + " " + event->message.value() + " " +
              std::to_string(event->messageType.value()) + "\n";
    return text;
  };
  EXPECT_EQ(saved(), "");
  clock_->advance(3s);
  bob.service->writeChannel("c",
                            R"({"type":3,"message":"{\"message\":\"x\",\"recordedTime\":9}"})");
  queue_->advance(1s);
  EXPECT_EQ(saved(), "3000 x 3\n");
  clock_->advance(2s);
  ann.talk->say("y");
  queue_->advance(1s);
  EXPECT_EQ(saved(), "3000 x 3\n5000 y 1\n");
}

/// With an engine that answers when the test says so.
class SlowConversation : public ConversationTest {
 protected:
  [[nodiscard]] bool answer(std::int64_t code) {
    const bool isAnswered = kit_->answer(code);
    queue_->runDue();
    return isAnswered;
  }

  const std::shared_ptr<testing::ScriptedRtmKit> kit_ = std::make_shared<testing::ScriptedRtmKit>();
  Person ann_{queue_, clock_, kit_->factory(), 1, "Ann"};
};

TEST_F(SlowConversation, LeavesOnceEverythingSaidIsAcknowledged) {
  ann_.talk->say("one");
  ann_.talk->say("two");
  EXPECT_TRUE(answer(0));  // the login
  EXPECT_TRUE(answer(0));  // the joining
  ann_.talk->end();
  ann_.talk->say("too late");
  EXPECT_TRUE(answer(1));
  EXPECT_THAT(ann_.errors,
              ElementsAre("\"one\" was not sent: rtm: Send Channel Message Failed, code: 1"));
  EXPECT_EQ(ann_.isGood, std::nullopt);
  EXPECT_TRUE(answer(0));
  EXPECT_EQ(ann_.isGood, false);
  EXPECT_THAT(ann_.lines, ElementsAre("* joined c", "Ann: two"));
}

TEST_F(SlowConversation, NamesWhatIsNotAcknowledgedInTime) {
  ann_.talk->say("one");
  EXPECT_TRUE(answer(0));
  EXPECT_TRUE(answer(0));
  ann_.talk->end();
  queue_->advance(1min);
  EXPECT_THAT(ann_.errors, ElementsAre("\"one\" was not acknowledged"));
  EXPECT_EQ(ann_.isGood, false);
  EXPECT_EQ(kit_->asked().back(), "logout");
}

TEST_F(SlowConversation, WaitsForTheServiceAndGivesUpWhenTheChannelIsRefused) {
  kit_->delegate()->connectionProblemChanged("mqtt://h:1", "connection refused");
  queue_->advance(1min);
  EXPECT_THAT(ann_.delays, ElementsAre("mqtt://h:1: connection refused; still trying"));
  EXPECT_EQ(ann_.isGood, std::nullopt);

  const auto kit = std::make_shared<testing::ScriptedRtmKit>();
  Person bob(queue_, clock_, kit->factory(), 2, "Bob");
  EXPECT_TRUE(kit->answer(0));
  queue_->runDue();
  EXPECT_TRUE(kit->answer(2));
  queue_->runDue();
  EXPECT_THAT(bob.errors, ElementsAre("rtm: Join Channel Failed, code: 2, extra: Channel: c"));
  EXPECT_EQ(bob.isGood, false);
}

TEST_F(SlowConversation, EndsBeforeItHasJoined) {
  ann_.talk->end();
  queue_->advance(1min);
  EXPECT_EQ(ann_.isGood, true);
  EXPECT_THAT(ann_.lines, IsEmpty());
}

TEST_F(ConversationTest, AFeedShowsLinesByBatchAndStatisticsAsAStatus) {
  std::vector<std::string> shown;
  ChatFeed feed([&](const auto& lines) { shown.insert(shown.end(), lines.begin(), lines.end()); },
                {queue_, clock_});
  const auto event = [](ZVMessageType type, const char* text) {
    auto result = std::make_shared<ZVStreamMessage>();
    result->senderUserName = "bob";
    result->message = text;
    return std::pair(result, rawValue(type));
  };
  const auto statistic = std::make_shared<ZVStatisticMessage>();
  statistic->totalViewers = 12;
  for (int i = 0; i < 150; ++i) {
    for (const auto& [each, type] :
         {event(ZVMessageType::message, "hi"), event(ZVMessageType::like, "")})
      feed.add(each, type, false);
    feed.add(std::make_shared<MemberChange>("* " + std::to_string(i) + " came"),
             rawValue(ZVMessageType::viewerJoined), false);
  }
  feed.add(statistic, rawValue(ZVMessageType::statistic), false);
  feed.add(event(ZVMessageType::message, "mine").first, 1, true);
  queue_->advance(1s);
  EXPECT_EQ(shown.size(), 103U);
  EXPECT_THAT(shown, IsSupersetOf({"bob: hi", "[like] bob (and 149 more)",
                                   "* 149 came (and 149 more)", "bob: mine"}));
  EXPECT_EQ(feed.status(), "12 viewers, 50 lines left out");
}

}  // namespace
}  // namespace zavelo::command

#include <future>
#include <thread>

#include "tests/sandbox/broadcast.hpp"
#include "tests/sandbox/channel_client.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

/// Statistics go out so rarely that only the test's own events do, or as the options say.
class ChannelTest : public LiveBroadcast {
 protected:
  explicit ChannelTest(std::chrono::milliseconds period = 0ms)
      : LiveBroadcast({.brokerPort = 0, .statisticsPeriod = period}) {}

  void SetUp() override {
    LiveBroadcast::SetUp();
    client.enter("7");
    // Until the sandbox has heard of it.
    while (act({{"action", "statistic"}}).integer("changed") == 0) {
    }
    listener = client.listen();
  }
  [[nodiscard]] Answer act(json::Object action) const {
    action.set("slug", slug);
    return backend.post("/sandbox/actions", action);
  }
  /// The next event of that class, and who the broker says sent it.
  template <class Event>
  [[nodiscard]] std::pair<std::shared_ptr<Event>, std::string> next() {
    for (;;) {
      const auto line = listener->readLine();
      if (line.empty()) return {};
      const auto blank = line.find(' ');
      const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(line.substr(blank + 1));
      auto event = envelope ? (*envelope)->getStreamMessage() : nullptr;
      if (auto wanted = std::dynamic_pointer_cast<Event>(event))
        return {wanted, parsedMqttTopic(line.substr(0, blank))->userId};
    }
  }

  const std::string hostId = std::to_string(owner.integer("userInfo.userId"));
  const ChannelClient client{*backend.sandbox->rtmUrl(), slug};
  std::unique_ptr<test::ChildProcess> listener;
};

TEST_F(ChannelTest, ActionsOfAHostAreHeardUnderTheHostsId) {
  ASSERT_EQ(act({{"action", "floating-text"}, {"content", "hi"}, {"x", 0.5}}).integer("changed"),
            1);
  const auto [text, sender] = next<ZVFloatingTextMessage>();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(sender, hostId);
  EXPECT_EQ(std::to_string(*text->senderUserId), hostId);
  EXPECT_EQ(text->content, "hi");
  EXPECT_EQ(text->position->x, 0.5);

  (void)like(viewer, 3, false);
  (void)act({{"action", "statistic"}});
  EXPECT_EQ(next<ZVStatisticMessage>().first->totalLikes, 3);
  (void)act({{"action", "kick"}, {"userName", "viewer"}});
  const auto kick = next<ZVStreamMessage>().first;
  EXPECT_EQ(kick->type(), ZVMessageType::hostKicked);
  EXPECT_EQ(kick->targetUsername, "viewer");
}

/// Keeps what a kit hears of a channel.
struct Ears final : AgoraRtmChannelDelegate {
  void memberJoined(const std::string&, const std::string&) override {}
  void memberLeft(const std::string&, const std::string&) override {}
  void channelMessageReceived(const std::string&, const std::string& text,
                              const std::string& userId) override {
    heard.set_value({text, userId});
  }
  std::promise<std::pair<std::string, std::string>> heard;
};

TEST_F(ChannelTest, AppThatJoinsByTheEngineIsKnownToBeThereAndHears) {
  const auto engine = mqttEngine({.address = *backend.sandbox->rtmUrl()});
  const auto kit = (*engine)("another app", {});
  const auto ears = std::make_shared<Ears>();
  std::promise<std::int64_t> joined;
  std::shared_ptr<AgoraRtmChannel> channel;
  kit->login({}, "42", [&](std::int64_t) {
    channel = kit->createChannel(slug, ears);
    channel->join([&](std::int64_t code) { joined.set_value(code); });
  });
  ASSERT_EQ(joined.get_future().get(), 0);
  while (act({{"action", "kick"}, {"userName", "viewer"}}).integer("changed") != 2) {
  }
  const auto [text, sender] = ears->heard.get_future().get();
  EXPECT_EQ(sender, hostId);
  EXPECT_THAT(text, ::testing::HasSubstr("202"));
}

TEST_F(ChannelTest, GiftIsPaidAndToldUnderItsSendersId) {
  const json::Object gift{{"action", "gift"}, {"userName", "viewer"}, {"giftId", 1}, {"amount", 4}};
  ASSERT_THAT(act(gift), HasCode(1));
  const auto [message, sender] = next<ZVGiftMessage>();
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(sender, std::to_string(*message->senderUserId));
  EXPECT_NE(sender, hostId);
  EXPECT_EQ(message->giftCount, 4);
  EXPECT_EQ(message->receiverStars, 4);
  (void)act({{"action", "statistic"}});
  EXPECT_EQ(next<ZVStatisticMessage>().first->totalReceivedStars, 4);
}

TEST_F(ChannelTest, PollRunsOnceAndCountsAddedVotes) {
  const json::Object start{
      {"action", "start-poll"}, {"question", "Tea?"}, {"option1", "Yes"}, {"option2", "No"}};
  ASSERT_THAT(act(start), HasCode(1));
  EXPECT_THAT(act(start), HasCode(750));
  EXPECT_THAT(act({{"action", "add-votes"}, {"choice", 3}}), HasCode(750));
  ASSERT_THAT(act({{"action", "add-votes"}, {"choice", 2}, {"amount", 5}}), HasCode(1));
  ASSERT_THAT(act({{"action", "stop-poll"}}), HasCode(1));
  EXPECT_THAT(act({{"action", "stop-poll"}}), HasCode(750));
  EXPECT_EQ(next<ZVPollMessage>().first->pollData->total, 0);
  EXPECT_EQ(next<ZVPollMessage>().first->pollData->numOption2, 5);
  const auto last = next<ZVPollMessage>().first;
  EXPECT_EQ(last->type(), ZVMessageType::stopPoll);
  EXPECT_EQ(last->pollData->total, 5);
}

TEST_F(ChannelTest, StreamThatDoesNotRunIsToldNothing) {
  (void)call("end", host);
  EXPECT_EQ(act({{"action", "statistic"}}).message(), "\"slug\": this stream does not run");
}

class LivelyChannelTest : public ChannelTest {
 protected:
  LivelyChannelTest() : ChannelTest(20ms) {}
  void vote(const std::string& user, const std::string& line) const {
    ZVStreamMessage message;
    message.message = line;
    client.say(user, *ZVMessage(message).toJsonString());
  }
};

TEST_F(LivelyChannelTest, StatisticsGoOutByThemselves) {
  (void)next<ZVStatisticMessage>();
  (void)like(viewer, 2, false);
  while (next<ZVStatisticMessage>().first->totalLikes != 2) {
  }
}

TEST_F(LivelyChannelTest, ChatLinesVoteTheLastOfEachVoterCounts) {
  ASSERT_THAT(
      act({{"action", "start-poll"}, {"question", "Tea?"}, {"option1", "Yes"}, {"option2", "No"}}),
      HasCode(1));
  vote("7", "1");
  vote("8", "no");
  vote("9", "what?");
  client.say("9", "no event");
  vote("7", "2");
  for (;;) {
    const auto poll = next<ZVPollMessage>().first->pollData;
    EXPECT_LE(*poll->total, 2);
    if (poll->numOption2 == 2) break;
  }
}

TEST_F(LivelyChannelTest, PollEventsOfTheHostsAppStartReplaceAndStopTheStreamsPoll) {
  const auto send = [&](const std::string& user, ZVMessageType kind, const std::string& question) {
    ZVPollMessage message;
    message.messageType = rawValue(kind);
    message.pollData = std::make_shared<ZVPoll>();
    message.pollData->id = 77;
    message.pollData->question = question;
    message.pollData->option1 = "Yes";
    message.pollData->option2 = "No";
    client.say(user, *ZVMessage(message).toJsonString());
  };
  const auto shown = [&] { return backend.send("GET", "/sandbox/streams/" + slug).data("poll"); };
  const auto waitFor = [&](const std::string& question, bool isRunning, std::int64_t yes) {
    const json::Value expected =
        json::Object{{"question", question},
                     {"isRunning", isRunning},
                     {"options", json::Array{json::Object{{"text", "Yes"}, {"votes", yes}},
                                             json::Object{{"text", "No"}, {"votes", 0}}}}};
    while (shown() != expected) std::this_thread::sleep_for(5ms);
  };
  send("7", ZVMessageType::startPoll, "Not the host?");
  send(hostId, ZVMessageType::startPoll, "");
  send(hostId, ZVMessageType::startPoll, "Tea?");
  vote("7", "yes");
  waitFor("Tea?", true, 1);
  send(hostId, ZVMessageType::startPoll, "Tea?");  // how it is going
  vote("8", "1");
  waitFor("Tea?", true, 2);
  for (auto poll = next<ZVPollMessage>().first->pollData; poll->total != 2;
       poll = next<ZVPollMessage>().first->pollData) {
    EXPECT_EQ(poll->id, 77);
  }
  EXPECT_THAT(
      act({{"action", "start-poll"}, {"question", "Soup?"}, {"option1", "a"}, {"option2", "b"}}),
      HasCode(750));
  send(hostId, ZVMessageType::startPoll, "Coffee?");
  waitFor("Coffee?", true, 0);
  send("7", ZVMessageType::stopPoll, "Coffee?");
  vote("7", "1");
  waitFor("Coffee?", true, 1);
  send(hostId, ZVMessageType::stopPoll, "Coffee?");
  waitFor("Coffee?", false, 1);
}

}  // namespace
}  // namespace zavelo::sandbox

#include "zavelo/await.hpp"

#include <gmock/gmock.h>

#include <coroutine>
#include <thread>

#include "tests/services/user_fixture.hpp"
#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/observe.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/services/stream_service.hpp"

namespace zavelo {
namespace {

using ::testing::ElementsAre;
using testing::guestJson;

/// What an app's own coroutine type may be: no task, only a promise.
struct AppCoroutine {
  struct promise_type {
    AppCoroutine get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

class Await : public testing::UserFixture {
 protected:
  void replyTo(int calls, const std::string& data) {
    for (int i = 0; i < calls; ++i) http->reply(200, R"({"code":1,"data":)" + data + "}");
  }

  Task<std::string> threeCallsInARow() {
    const ZVCreateStreamRequest soup{.streamTitle = std::string(100, 't')};
    const auto user = co_await users->login("ann", std::string(100, 'x'), "d", 1, 2, awaitable);
    if (!user.isOk()) co_return user.error().description;
    const auto stream = co_await streams->createStream(soup, awaitable);
    if (!stream.isOk()) co_return stream.error().description;
    auto beginning = streams->beginStream("s", awaitable);
    const auto begun = co_await beginning;
    co_return begun.isOk() ? "on air" : begun.error().description;
  }
  /// Counts, and keeps its arguments alive in the frame.
  Task<> watch(std::string slug, std::stop_token stop = {}) {
    const auto result = co_await cancelledBy(stop, streams->beginStream(slug, awaitable));
    results.push_back(slug + ": " + (result.isOk() ? "ok" : result.error().description));
  }
  Task<> outer(std::string slug) {
    co_await watch(slug);
    results.push_back(slug + " ended");
  }

  const std::shared_ptr<ZVUserService> users = makeService();
  const std::shared_ptr<ZVStreamService> streams = ZVStreamService::create({api, clock});
  std::vector<std::string> results;
};

TEST_F(Await, ThreeCallsInARowReadAsThreeLinesAndStopAtTheFirstError) {
  http->reply(200, std::string(R"({"code":1,"data":)") + guestJson + "}");
  replyTo(1, "{}");
  replyTo(1, "true");
  const auto live = threeCallsInARow();
  EXPECT_FALSE(live.isDone()) << "nothing completes before the queue runs";
  queue->runDue();
  ASSERT_TRUE(live.isDone());
  EXPECT_EQ(live.operator co_await().await_resume(), "on air");

  http->reply(200, R"({"code":750,"message":"no"})");
  const auto failed = threeCallsInARow();
  queue->runDue();
  EXPECT_EQ(failed.operator co_await().await_resume(), "no");
  EXPECT_EQ(http->requests().size(), 4U);
}

TEST_F(Await, AResultResumesOnceAndADestroyedTaskCancelsItsCall) {
  {
    const auto kept = outer("kept");
    auto dropped = std::make_unique<Task<>>(outer("dropped"));
    auto replaced = outer("replaced");
    replaced = {};
    dropped.reset();
    replyTo(1, "true");
    queue->runDue();
    EXPECT_TRUE(kept.isDone());
  }
  EXPECT_THAT(results, ElementsAre("kept: ok", "kept ended"));
  EXPECT_EQ(http->waiting(), 0U);
  EXPECT_EQ(api->callsUnderWay(), 0U);

  // The reply is in the queue already.
  replyTo(1, "true");
  { const auto late = watch("late"); }
  queue->runDue();
  EXPECT_EQ(results.size(), 2U);
}

TEST_F(Await, AStopRequestEndsTheCallWithAnError) {
  std::stop_source stop;
  const auto task = watch("a", stop.get_token());
  std::jthread([&] { stop.request_stop(); }).join();
  queue->runDue();
  const auto late = watch("b", stop.get_token());
  queue->runDue();
  EXPECT_THAT(results, ElementsAre("a: cancelled", "b: cancelled"));
}

TEST_F(Await, AnAppsOwnCoroutineSeesAServiceThatEndsAsCancelled) {
  auto brief = makeService();
  const auto signIn = [](std::shared_ptr<ZVUserService>& service,
                         std::vector<std::string>& said) -> AppCoroutine {
    auto call = service->loginGuest("d", awaitable);
    service.reset();  // a sign-in then has no answer
    const auto result = co_await call;
    said.push_back(result.isOk() ? "ok" : result.error().description);
  };
  http->reply(200, std::string(R"({"code":1,"data":)") + guestJson + "}");
  signIn(brief, results);
  queue->runDue();
  EXPECT_THAT(results, ElementsAre("cancelled"));
}

TEST_F(Await, MessagingCallsAreAwaitedToo) {
  users->setUser(userOf(guestJson));
  const auto chat =
      ZVRTMService::create({InProcessHub::create(queue)->kitFactory(), &users->currentUserSource(),
                            queue, notifications, clock});
  const auto enter = [](ZVRTMService& service, std::vector<std::string>& said) -> Task<> {
    if (!co_await service.connect(awaitable)) co_return;
    if (!co_await service.joinChannel("soup", awaitable)) co_return;
    const auto members = co_await service.getMembersOfChannel("soup", awaitable);
    said = members.value();
    const auto unknown = co_await service.writeChannel("nowhere", "x", awaitable);
    said.push_back(unknown ? "sent" : "refused");
  };
  const auto task = enter(*chat, results);
  for (int i = 0; i < 10; ++i) queue->runDue();
  chat->joinChannel(
      "salad", [this, kept = std::make_unique<std::string>("in")] { results.push_back(*kept); });
  queue->runDue();
  EXPECT_THAT(results, ElementsAre("9", "refused", "in"));
}

TEST_F(Await, AFutureAnswersAThreadWhileAnotherDrivesTheQueue) {
  const auto main = std::make_shared<MainQueue>();
  const auto service = ZVAPIService::create({http, main, notifications, clock});
  const auto real = ZVStreamService::create({service, clock});
  std::thread driver([&] { main->run(); });
  for (int i = 0; i < 20; ++i) {
    replyTo(1, "true");
    EXPECT_TRUE(future(real->beginStream("s", awaitable)).get().isOk());
  }
  main->stop();
  driver.join();
}

std::string channelText(const ZVStreamMessage& event) {
  return ZVMessage(event).toJsonString().value();
}

TEST_F(Await, ObserversGetDecodedEventsOnTheQueueUntilTheirTokenIsReset) {
  const auto post = [&](const std::string& channel, const std::string& text) {
    notifications->post(ZaveloDidReceiveChannelMessage,
                        {{"message", ZVRTMChannelMessage{channel, text, "7"}}});
  };
  auto token = onChannelEvent(*notifications, "soup", queue, [&](const ZVChannelEvent& event) {
    visit(event, overloaded{[&](const ZVPollMessage& poll) {
                              results.push_back(poll.pollData->question.value_or(""));
                            },
                            [&](const ZVGiftMessage&) { results.emplace_back("gift"); },
                            [&](const ZVStreamMessage& line) {
                              results.push_back(event.senderId + line.message.value_or(""));
                            }});
  });
  const auto& nobody = users->currentUserSource();
  auto poll = std::make_shared<ZVPoll>(ZVPoll{.question = "Red?"});
  const auto asked = ZVStreamMessageFactory(ZVMessageType::startPoll);
  post("soup", channelText(*asked.createPollMessage(poll, 0, nobody)));
  post("soup", "no event");
  post("salad", channelText(*asked.createMessage("elsewhere", 0, nobody)));
  for (const auto type : {ZVMessageType::gift, ZVMessageType::statistic, ZVMessageType::message})
    post("soup", channelText(*ZVStreamMessageFactory(type).createMessage("hi", 0, nobody)));
  EXPECT_TRUE(results.empty()) << "nothing runs before the queue does";
  queue->runDue();
  EXPECT_THAT(results, ElementsAre("Red?", "gift", "7hi", "7hi"));

  const auto member = observe<ZVRTMChannelMember>(
      *notifications, queue, [&](const ZVRTMChannelMember& who) { results.push_back(who.userId); });
  notifications->post(ZaveloUserDidLeaveChannel, {{"user", ZVRTMChannelMember{"soup", "8"}}});
  post("soup", channelText(*asked.createPollMessage(poll, 0, nobody)));
  token.reset();  // with an event still in the queue
  queue->runDue();
  EXPECT_EQ(results.back(), "8");
  EXPECT_EQ(results.size(), 5U);
}

TEST_F(Await, MessagingCountsReconnectsInterruptionsAndDroppedTexts) {
  const auto chat =
      ZVRTMService::create({InProcessHub::create(queue)->kitFactory(), &users->currentUserSource(),
                            queue, notifications, clock});
  using State = AgoraRtmChannelState;
  const auto report = [&](AgoraRtmConnectionState login, State soup) {
    ZVRTMStatus status{.state = login, .droppedTexts = 3};
    status.channels["soup"].state = soup;
    chat->statusChanged(status);
  };
  report(rtmState::connected, State::joined);
  for (int i = 0; i < 2; ++i) {
    report(rtmState::reconnecting, State::interrupted);
    report(rtmState::reconnecting, State::interrupted);
    report(rtmState::connected, State::resumed);
  }
  report(rtmState::connected, State::givenUp);
  chat->didReceivePeerMessage("8", "psst");
  EXPECT_EQ(chat->counters(), (ZVRTMCounters{.channelTexts = 0,
                                             .peerTexts = 1,
                                             .reconnects = 2,
                                             .interruptions = 2,
                                             .givenUp = 1,
                                             .droppedTexts = 3}));
}

using AwaitDeathTest = Await;

TEST_F(AwaitDeathTest, MisuseEndsTheProcessWithAMessageInEveryBuild) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH((void)ZVAPIResult<bool>::error({ZVAPIErrorType::banned, "gone"}).data(),
               "data\\(\\) of a failed call: gone");
  EXPECT_DEATH((void)future(streams->beginStream("s", nullptr)), "pass `awaitable` instead");
}

}  // namespace
}  // namespace zavelo

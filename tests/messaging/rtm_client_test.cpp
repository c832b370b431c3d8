#include <gmock/gmock.h>

#include "tests/messaging/fixed_user.hpp"
#include "tests/support/recorded_log.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/scripted_rtm_kit.hpp"

// The messaging service over a kit that the test speaks for.

namespace zavelo {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class RtmClient : public ::testing::Test {
 protected:
  RtmClient() {
    ZaveloSDK::shared().initWith(ZVEnvironment::demo(), true, "app-1");
    for (const auto name :
         {ZaveloDidReceivePeerMessage, ZaveloDidReceiveChannelMessage, ZaveloUserDidLeaveChannel,
          ZaveloUserDidJoinChannel, ZaveloUserDidRemoteLogin})
      tokens.push_back(notifications->addObserver(
          std::string(name), [this](const Notification& posted) { hear(posted); }));
  }

  void hear(const Notification& posted) {
    std::string text(posted.name);
    if (const auto* peer = posted.info<ZVRTMPeerMessage>("message"))
      text += " " + peer->peerId + ": " + peer->message;
    if (const auto* channel = posted.info<ZVRTMChannelMessage>("message"))
      text += " " + channel->channelId + ": " + channel->message + " by " + channel->senderId;
    if (const auto* member = posted.info<ZVRTMChannelMember>("user"))
      text += " " + member->channelId + ": " + member->userId;
    heard.push_back(text);
  }
  ZVRTMService::Success onSuccess() {
    return [this] { called.emplace_back("success"); };
  }
  ZVRTMService::Fail onFail() {
    return [this](const ZVError& error) { called.push_back(error.description()); };
  }
  void join(const std::string& channel) {
    service->joinChannel(channel);
    kit->answer(0);
  }

  const std::shared_ptr<testing::RecordedLog> log = testing::RecordedLog::install();
  const std::shared_ptr<testing::ScriptedRtmKit> kit = std::make_shared<testing::ScriptedRtmKit>();
  const std::shared_ptr<testing::ManualQueue> queue = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<NotificationCentre> notifications = std::make_shared<NotificationCentre>();
  const std::shared_ptr<testing::ManualClock> clock = std::make_shared<testing::ManualClock>();
  const test::FixedUser ann = test::FixedUser::member(7);
  std::shared_ptr<ZVRTMService> service = makeService(ann);
  std::vector<std::string> called;
  std::vector<std::string> heard;
  std::vector<ObserverToken> tokens;

  std::shared_ptr<ZVRTMService> makeService(const ZVCurrentUserSource& users) {
    return ZVRTMService::create({kit->factory(), &users, queue, notifications, clock});
  }
};

TEST_F(RtmClient, LogsTheMemberInAndCountsAnEarlierLoginAsSuccess) {
  EXPECT_EQ(kit->delegate(), nullptr) << "the kit is made by the first operation";
  service->connect(onSuccess());
  EXPECT_EQ(kit->appId(), "app-1");
  kit->answer(0);
  service->connect(onSuccess());
  kit->answer(8);
  EXPECT_THAT(kit->asked(), ElementsAre("login 7", "login 7"));
  EXPECT_THAT(called, ElementsAre("success", "success"));
  EXPECT_THAT(log->text(), HasSubstr("Login Successfully: 7"));
  EXPECT_THAT(log->text(), HasSubstr("Already Login Successfully: 7"));
}

TEST_F(RtmClient, LogsAGuestInByTheGuestsIdAndNobodyNot) {
  const auto guest = test::FixedUser::guest(12);
  makeService(guest)->connect();
  const auto nobody = test::FixedUser::nobody();
  makeService(nobody)->connect(onSuccess());
  const auto zero = test::FixedUser::member(0);
  makeService(zero)->connect(onSuccess());
  EXPECT_THAT(kit->asked(), ElementsAre("login 12"));
  EXPECT_THAT(called, IsEmpty());
  EXPECT_EQ(queue->pending(), 0u);
}

TEST_F(RtmClient, RepeatsAFailedLoginEveryFiveSeconds) {
  service->connect(onSuccess());
  for (int i = 0; i < 3; ++i) {
    kit->answer(9);
    queue->advance(std::chrono::milliseconds(4'999));
    EXPECT_EQ(kit->asked().size(), 1u + static_cast<std::size_t>(i));
    queue->advance(std::chrono::milliseconds(1));
  }
  kit->answer(0);
  queue->advance(seconds(60));
  EXPECT_EQ(kit->asked().size(), 4u);
  EXPECT_THAT(called, ElementsAre("success"));
  EXPECT_THAT(log->text(), HasSubstr(ZVError::rtm("Login Failed", 9).description()));
}

TEST_F(RtmClient, SuccessOfAFailedLoginIsCalledByTheAutomaticOneThatSucceeds) {
  service->connect(onSuccess());
  kit->changeState(1, 3);  // logs in again, before the first one is answered
  kit->answer(2);
  kit->changeState(1, 3);  // and again: the retry that waits is cancelled
  kit->answer(2);
  kit->answer(0);
  EXPECT_THAT(called, ElementsAre("success"));
  service->connect(onSuccess());
  kit->answer(2);
  service->connect([this] { called.emplace_back("newer"); });
  kit->answer(0);
  EXPECT_THAT(called, ElementsAre("success", "newer"));
  service->connect(onSuccess());
  kit->answer(2);
  service->disconnect();
  queue->advance(seconds(60));
  EXPECT_EQ(kit->asked().back(), "logout") << "no retry after it";
}

TEST_F(RtmClient, ResultIsAnsweredOnceInEveryCase) {
  const auto note = [this](const Result<std::monostate, ZVError>& result) {
    called.push_back(result ? "written" : result.error().description());
  };
  const auto listed = [this](const Result<std::vector<std::string>, ZVError>& result) {
    called.push_back(result ? result->front() : result.error().description());
  };
  service->writeChannel("c", "hi", note);
  service->getMembersOfChannel("c", listed);
  join("c");
  EXPECT_THAT(called, IsEmpty()) << "on the main queue";
  service->writeChannel("c", "hi", note);
  kit->answer(0);
  service->getMembersOfChannel("c", listed);
  kit->answerMembers(std::vector<std::string>{"7"});
  service->writeChannel("c", "ho", note).cancel();
  kit->answer(0);
  service->getMembersOfChannel("c", listed);
  kit->answerMembers(std::nullopt);
  service->countMembersOfChannel("c", [this](const auto& result) {
    called.push_back(std::to_string(result->estimate) + " members");
  });
  kit->answerCount(AgoraRtmMemberCount{3});
  service->getMembersOfChannel("c", [](const auto& ids) { EXPECT_EQ(ids.size(), 2U); });
  kit->answerMembers(std::vector<std::string>{"7", "8"});
  queue->runDue();
  const auto nil = ZVError::rtm("Channel Instance Nil").description();
  EXPECT_THAT(
      called,
      ElementsAre(nil, nil, "written", "7", ZVError::rtm("cancelled").description(),
                  ZVError::rtm("Get Channel Members Failed", {}, "Channel: c").description(),
                  "3 members"));
}

TEST_F(RtmClient, StatusTellsOfTheConnectionAndOfEachChannel) {
  std::vector<ZVRTMStatus> posted;
  tokens.push_back(notifications->addObserver(
      std::string(ZaveloRTMStatusDidChange), [&](const Notification& notification) {
        posted.push_back(*notification.info<ZVRTMStatus>("status"));
      }));
  service->connect();
  kit->answer(0);
  kit->reportProblem("mqtt://h:1", "connection refused");
  kit->changeState(4, 5);
  join("c");
  service->joinChannel("d");
  EXPECT_EQ(service->status().channels.at("d").state, AgoraRtmChannelState::joining);
  kit->answer(5);
  kit->interrupt("c", "gone", seconds(2));
  kit->dropText("c");
  clock->advance(seconds(3));
  kit->restore("c");
  const auto status = service->status();
  EXPECT_EQ(posted.size(), 9U);
  EXPECT_EQ(status.problem, "connection refused");
  EXPECT_EQ(status.state, rtmState::reconnecting);
  EXPECT_EQ(status.droppedTexts, 1U);
  ASSERT_EQ(status.channels.size(), 1U);
  EXPECT_EQ(posted[7].channels.at("c").problem, "gone");
  const auto gap = status.channels.at("c").gap;
  EXPECT_TRUE(gap && gap->to - gap->from == seconds(5));
  kit->changeState(1, 6);
  EXPECT_THAT(service->status().channels, IsEmpty());
}

TEST_F(RtmClient, MayBeAskedWhileItsKitIsMade) {
  const auto makeKit = [&](const std::string& appId, std::weak_ptr<AgoraRtmDelegate> delegate) {
    EXPECT_FALSE(service->isConnected());
    return kit->factory()(appId, std::move(delegate));
  };
  service = ZVRTMService::create(
      {makeKit, &ann, queue, notifications, std::make_shared<testing::ManualClock>()});
  service->connect(onSuccess());
  kit->answer(0);
  EXPECT_THAT(called, ElementsAre("success"));
}

TEST(AfterWorker, MayBeUsedByTheActionThatGoes) {
  testing::ManualQueue queue;
  ZVAfterWorker worker;
  int ran = 0;
  worker.after(1, queue, [held = std::shared_ptr<int>(new int, [&](int* value) {
                            delete value;
                            worker.cancel();
                          })] {});
  worker.after(1, queue, [&] { ++ran; });
  queue.advance(std::chrono::seconds(1));
  EXPECT_EQ(ran, 1);
}

TEST_F(RtmClient, NewLoginTakesThePlaceOfTheOneThatWaits) {
  service->connect(onSuccess());
  kit->answer(9);
  service->connect(onSuccess());
  kit->answer(0);
  queue->advance(seconds(60));
  EXPECT_EQ(kit->asked().size(), 2u);
  EXPECT_THAT(called, ElementsAre("success"));
}

TEST_F(RtmClient, LogsInAgainAfterABreakAndNotAfterALogout) {
  service->connect();
  kit->answer(0);
  for (const auto reason : {rtmReason::loginFailure, rtmReason::loginTimeout,
                            rtmReason::interrupted, rtmReason::logout})
    kit->changeState(rtmState::disconnected, reason);
  kit->changeState(rtmState::aborted, rtmReason::bannedByServer);
  EXPECT_EQ(kit->asked().size(), 4u);
  EXPECT_THAT(heard, IsEmpty());
  kit->changeState(rtmState::aborted, rtmReason::remoteLogin);
  EXPECT_THAT(heard, ElementsAre("ZaveloUserDidRemoteLogin"));
  kit->changeState(42, 42);
  EXPECT_THAT(log->text(), HasSubstr("State: Disconnected | Reason: Interrupted"));
  EXPECT_THAT(log->text(), HasSubstr("State: Aborted | Reason: Banned By Server"));
  EXPECT_THAT(log->text(), HasSubstr("State: Unknown | Reason: Unknown"));
}

TEST_F(RtmClient, IsConnectedInOneStateOnly) {
  EXPECT_FALSE(service->isConnected());
  service->connect();
  for (const AgoraRtmConnectionState state : {1, 2, 3, 4, 5}) {
    kit->changeState(state, 0);
    EXPECT_EQ(service->isConnected(), state == 3);
  }
}

TEST_F(RtmClient, SortsTheCodesOfAJoin) {
  for (const int code : {0, 6, 4}) {
    service->joinChannel("c", onSuccess(), onFail());
    kit->answer(code);
  }
  kit->setCreatesChannels(false);
  service->joinChannel("c", onSuccess(), onFail());
  const auto failed = ZVError::rtm("Join Channel Failed", 4, "Channel: c").description();
  const auto created = ZVError::rtm("Create Channel Failed").description();
  EXPECT_THAT(called, ElementsAre("success", "success", failed, created));
  EXPECT_THAT(log->text(), HasSubstr("Join Channel Successfully: c"));
  EXPECT_THAT(log->text(), HasSubstr("Channel Already Joined: c"));
  EXPECT_THAT(log->text(), HasSubstr(failed));
  EXPECT_THAT(log->text(), HasSubstr(created));
}

TEST_F(RtmClient, DestroysAChannelOnlyAfterItWasLeft) {
  join("c");
  service->leaveChannel("c", true);
  kit->answer(102);
  service->leaveChannel("c", false);
  kit->answer(0);
  EXPECT_THAT(kit->asked(), Not(::testing::Contains("destroy c")));
  service->leaveChannel("c", true);
  kit->answer(0);
  EXPECT_EQ(kit->asked().back(), "destroy c");
  const auto entries = log->entries().size();
  service->leaveChannel("c", true);
  EXPECT_EQ(log->entries().size(), entries) << "never joined: nothing";
  EXPECT_THAT(log->text(), HasSubstr("Not Logged In"));
}

TEST_F(RtmClient, SendsToAChannelAndToAPeer) {
  join("c");
  service->writeChannel("c", "hi", onSuccess(), onFail());
  kit->answer(0);
  service->writeChannel("c", "ho", onSuccess(), onFail());
  kit->answer(3);
  service->write("psst", "8", onSuccess(), onFail());
  kit->answer(0);
  service->write("psst", "8", onSuccess(), onFail());
  kit->answer(1);
  EXPECT_THAT(
      called,
      ElementsAre(
          "success", ZVError::rtm("Send Channel Message Failed", 3).description(), "success",
          ZVError::rtm("Send Peer Message Failed", 1, "Message: psst, To: 8").description()));
  EXPECT_THAT(log->text(), HasSubstr("Send Channel Message Successfully: hi"));
  EXPECT_THAT(log->text(), HasSubstr("Send Peer Message Successfully: Message: psst, To: 8"));
}

TEST_F(RtmClient, SaysWhyAChannelIsNotFoundAndSendsNothing) {
  service->writeChannel("c", "hi", onSuccess(), onFail());
  kit->setHasDictionary(false);
  service->getMembersOfChannel("c", [this](const auto&) { called.emplace_back("members"); });
  EXPECT_THAT(kit->asked(), IsEmpty());
  EXPECT_THAT(called, IsEmpty());
  EXPECT_THAT(log->text(), HasSubstr("Get Channel Failed with error: " +
                                     ZVError::rtm("Channel Instance Nil").description()));
  EXPECT_THAT(log->text(), HasSubstr("Get Channel Members c Failed with error: " +
                                     ZVError::rtm("Channel Dictionary Nil").description()));
}

TEST_F(RtmClient, ListsMembersInTheKitsOrder) {
  join("c");
  std::vector<std::string> members;
  const auto keep = [&](std::vector<std::string> got) { members = std::move(got); };
  service->getMembersOfChannel("c", keep);
  kit->answerMembers(std::nullopt);
  EXPECT_THAT(members, IsEmpty());
  service->getMembersOfChannel("c", keep);
  kit->answerMembers(std::vector<std::string>{"9", "7"});
  EXPECT_THAT(members, ElementsAre("9", "7"));
}

TEST_F(RtmClient, PostsWhatComesIn) {
  join("c");
  kit->delegate()->peerMessageReceived("psst", "8");
  kit->channelDelegate()->channelMessageReceived("c", "hi", "8");
  kit->channelDelegate()->memberJoined("c", "8");
  kit->channelDelegate()->memberLeft("c", "8");
  kit->delegate()->tokenDidExpire();
  EXPECT_THAT(heard,
              ElementsAre("ZaveloDidReceivePeerMessage 8: psst",
                          "ZaveloDidReceiveChannelMessage c: hi by 8",
                          "ZaveloUserDidLeaveChannel c: 8", "ZaveloUserDidLeaveChannel c: 8"));
  EXPECT_THAT(log->text(), HasSubstr("Json String: psst, type: peer: 8"));
  EXPECT_THAT(log->text(), HasSubstr("Json String: hi, type: channel"));
  EXPECT_THAT(log->text(), HasSubstr("RTM Log - Member: 8 joined Channel: c"));
  EXPECT_THAT(log->text(), HasSubstr("RTM Log - Member: 8 left Channel: c"));
}

TEST_F(RtmClient, HearsNothingOnceItIsGone) {
  service->connect(onSuccess());
  service->joinChannel("c", onSuccess(), onFail());
  service->write("psst", "8", onSuccess(), onFail());
  service.reset();
  while (kit->answer(5)) {
  }
  queue->advance(seconds(60));
  EXPECT_THAT(called, IsEmpty());
  EXPECT_EQ(kit->asked().size(), 4u);
}

}  // namespace
}  // namespace zavelo

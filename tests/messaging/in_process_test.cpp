#include "zavelo/messaging/engines/in_process.hpp"

#include <gmock/gmock.h>

#include <future>

#include "zavelo/testing/manual_queue.hpp"

namespace zavelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A user with a kit, who writes down what happens.
class User final : public AgoraRtmDelegate,
                   public AgoraRtmChannelDelegate,
                   public std::enable_shared_from_this<User> {
 public:
  static std::shared_ptr<User> of(InProcessHub& hub, const std::string& appId = "app") {
    auto user = std::make_shared<User>();
    user->kit = hub.kitFactory()(appId, user);
    return user;
  }

  AgoraRtmCompletion noting(const std::string& what) {
    return [this, what](std::int64_t code) { heard.push_back(what + " " + std::to_string(code)); };
  }
  void login(const std::string& id) { kit->login(std::nullopt, id, noting("login")); }
  void join(const std::string& channel) { in(channel)->join(noting("join")); }
  std::shared_ptr<AgoraRtmChannel> in(const std::string& channel) {
    return kit->createChannel(channel, weak_from_this());
  }
  std::vector<std::string> heardSince() { return std::exchange(heard, {}); }

  void connectionStateChanged(AgoraRtmConnectionState state,
                              AgoraRtmConnectionChangeReason reason) override {
    heard.push_back(std::to_string(state) + "/" + std::to_string(reason));
  }
  void peerMessageReceived(const std::string& text, const std::string& peer) override {
    heard.push_back("peer " + peer + ": " + text);
  }
  void tokenDidExpire() override {}
  void memberJoined(const std::string& channel, const std::string& user) override {
    heard.push_back(channel + " +" + user);
  }
  void memberLeft(const std::string& channel, const std::string& user) override {
    heard.push_back(channel + " -" + user);
  }
  void channelMessageReceived(const std::string& channel, const std::string& text,
                              const std::string& user) override {
    heard.push_back(channel + " " + user + ": " + text);
  }

  std::shared_ptr<AgoraRtmKit> kit;
  std::vector<std::string> heard;
};

class InProcess : public ::testing::Test {
 protected:
  /// Two users in one channel, and nothing heard yet.
  void meet() {
    ann->login("1");
    bob->login("2");
    ann->join("c");
    bob->join("c");
    queue->runDue();
    EXPECT_THAT(ann->heardSince(), ElementsAre("2/1", "3/2", "login 0", "join 0", "c +2"));
    EXPECT_THAT(bob->heardSince(), ElementsAre("2/1", "3/2", "login 0", "join 0"));
  }

  const std::shared_ptr<testing::ManualQueue> queue = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<InProcessHub> hub = InProcessHub::create(queue);
  const std::shared_ptr<User> ann = User::of(*hub);
  std::shared_ptr<User> bob = User::of(*hub);
};

TEST_F(InProcess, CarriesMessagesToTheOthersInOrder) {
  meet();
  ann->in("c")->send("one", ann->noting("sent"));
  ann->in("c")->send("two", ann->noting("sent"));
  bob->kit->send("psst", "1", bob->noting("sent"));
  bob->kit->send("psst", "3", bob->noting("sent"));
  EXPECT_THAT(ann->heard, IsEmpty()) << "never before the call returns";
  queue->runDue();
  EXPECT_THAT(ann->heard, ElementsAre("sent 0", "sent 0", "peer 2: psst"));
  EXPECT_THAT(bob->heard, ElementsAre("c 1: one", "c 1: two", "sent 0", "sent 1"));
}

TEST_F(InProcess, RefusesWhatNeedsALoginOrAChannel) {
  ann->join("c");
  ann->kit->logout(ann->noting("logout"));
  ann->login("");
  ann->login("1");
  ann->login("1");
  ann->login("2");
  ann->in("c")->send("x", ann->noting("sent"));
  ann->in("c")->leave(ann->noting("leave"));
  ann->join("c");
  ann->join("c");
  queue->runDue();
  EXPECT_THAT(ann->heard, ElementsAre("join 102", "logout 102", "2/1", "1/3", "login 1", "2/1",
                                      "3/2", "login 0", "login 8", "login 1", "sent 3", "leave 3",
                                      "join 0", "join 6"));
  EXPECT_EQ(ann->in(""), nullptr);
}

TEST_F(InProcess, TellsWhoIsThereWhoComesAndWhoGoes) {
  meet();
  std::vector<std::string> members;
  ann->in("c")->getMembers([&](auto got) { members = got.value_or(std::vector<std::string>{}); });
  queue->runDue();
  EXPECT_THAT(members, ElementsAre("1", "2"));
  bob->in("c")->leave(bob->noting("leave"));
  bob->join("c");
  bob->kit->logout({});
  bob->login("2");
  bob->join("c");
  EXPECT_TRUE(bob->kit->destroyChannel("c"));
  EXPECT_FALSE(bob->kit->destroyChannel("c"));
  bob->join("c");
  queue->runDue();
  bob.reset();
  queue->runDue();
  EXPECT_THAT(ann->heard, ElementsAre("c -2", "c +2", "c -2", "c +2", "c -2", "c +2", "c -2"));
}

TEST_F(InProcess, SecondLoginOfAUserEndsTheFirst) {
  meet();
  const auto again = User::of(*hub);
  again->login("2");
  again->join("c");
  bob->in("c")->send("x", bob->noting("sent"));
  queue->runDue();
  EXPECT_THAT(bob->heard, ElementsAre("5/8", "sent 102"));
  EXPECT_THAT(ann->heard, ElementsAre("c -2", "c +2"));
}

TEST_F(InProcess, KeepsAppsApart) {
  meet();
  const auto other = User::of(*hub, "another app");
  other->login("2");
  other->join("c");
  other->in("c")->send("x", other->noting("sent"));
  queue->runDue();
  EXPECT_THAT(ann->heard, IsEmpty());
  EXPECT_THAT(bob->heard, IsEmpty());
}

TEST(InProcessThread, CallsBackFromAnotherThreadAndEndsFromItsOwn) {
  auto hub = InProcessHub::create();
  auto user = User::of(*hub);
  std::promise<void> done;
  user->kit->login(std::nullopt, "1", [&](auto) {
    hub.reset();
    user->kit.reset();  // the last that held the hub
    done.set_value();
  });
  done.get_future().wait();
}

}  // namespace
}  // namespace zavelo

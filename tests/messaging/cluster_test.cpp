#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <future>
#include <map>

#include "support/cluster.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/testing/rtm_engine_contract.hpp"

// The engine over brokers of several nodes: Mosquittos joined by bridges, and ejabberd.

namespace zavelo::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int crowd = 60, chatters = 24;
#else
constexpr int crowd = 500, chatters = 100;
#endif

MqttEngineOptions optionsAt(const std::string& address) {
  MqttEngineOptions options{.address = address};
  options.token = [](const std::string&) { return "any"; };  // ejabberd takes none without one
  options.keepAlive = 5s;
  return options;
}

class OverACluster : public ::testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    ZaveloSDK::shared().initWith(ZVEnvironment::custom({}), /*enableLog=*/false);
  }
  [[nodiscard]] static bool isBridge() { return std::string(GetParam()) == "bridge"; }
  /// Users by turns.
  [[nodiscard]] std::string addressFor(int user) const {
    return cluster_.addressOf(1 + user % test::Cluster::nodeCount);
  }

  const test::Cluster cluster_{GetParam()};
};

/// Each kit at the next node.
class OnDifferentNodes final : public RtmEngineUnderTest {
 public:
  /// `appId`: a clause's own, where no user is logged in.
  OnDifferentNodes(const test::Cluster& cluster, bool isBridge, std::string appId,
                   std::chrono::milliseconds settleTime)
      : cluster_(cluster), isBridge_(isBridge), appId_(std::move(appId)), settleTime_(settleTime) {}

  std::shared_ptr<AgoraRtmKit> createKit(std::weak_ptr<AgoraRtmDelegate> delegate) override {
    const auto engine =
        mqttEngine(optionsAt(cluster_.addressOf(1 + kits_++ % test::Cluster::nodeCount)));
    return engine.value()(appId_, std::move(delegate));
  }
  bool waitUntil(const std::function<bool()>& holds) override {
    return waitFor(holds, 10 * settleTime_);
  }
  void settle() override { std::this_thread::sleep_for(settleTime_); }
  [[nodiscard]] bool noticesAbsentPeers() const override { return !isBridge_; }

 private:
  const test::Cluster& cluster_;
  const bool isBridge_;
  const std::string appId_;
  const std::chrono::milliseconds settleTime_;
  int kits_ = 0;
};

TEST_P(OverACluster, TheContractIsKeptBetweenNodes) {
  for (const auto& clause : rtmEngineContract()) {
    std::string broken = "never checked";
    // Nodes learn of each other's clients when they can: on a busy machine a clause takes its time.
    for (const auto settleTime : {100ms, 1'000ms, 5'000ms}) {
      if (broken.empty()) break;
      OnDifferentNodes engine(cluster_, isBridge(),
                              std::string(clause.name) + std::to_string(settleTime.count()),
                              settleTime);
      broken = clause.check(engine);
    }
    EXPECT_EQ(broken, "") << clause.name;
  }
}

TEST_P(OverACluster, OfACrowdThatJoinsAtOnceAllAreListedOnEachNode) {
  std::deque<MqttUser> users;
  for (int i = 0; i < crowd; ++i)
    users.emplace_back(optionsAt(addressFor(i)), "user" + std::to_string(i));
  std::atomic<int> good = 0, answered = 0;
  const auto note = [&](std::int64_t code) {
    good += code == 0 ? 1 : 0;
    ++answered;
  };
  for (auto& each : users) each.kit->login({}, each.id, note);
  ASSERT_TRUE(waitFor([&] { return answered == crowd; }));
  const auto begin = Clock::now();
  for (auto& each : users) each.kit->createChannel("c", each.ears)->join(note);
  ASSERT_TRUE(waitFor([&] { return answered == 2 * crowd; }));
  std::printf("%d joins in %.1f s\n", crowd,
              std::chrono::duration<double>(Clock::now() - begin).count());
  EXPECT_EQ(good, 2 * crowd);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_TRUE(waitFor([&] { return users[i].members("c").size() == crowd; }));
  for (auto& each : users) each.kit->logout(note);
  EXPECT_TRUE(waitFor([&] { return answered == 3 * crowd; }));
}

/// A user who chats, and keeps account of what was said and heard.
class Chatter final : public AgoraRtmDelegate, public AgoraRtmChannelDelegate {
 public:
  struct Said {
    Clock::time_point begin, acknowledged;
    bool isGood;
  };
  struct Gap {
    Clock::time_point from, to;
  };

  void connectionStateChanged(std::int64_t, std::int64_t) override {}
  void peerMessageReceived(const std::string&, const std::string&) override {}
  void tokenDidExpire() override {}
  void memberJoined(const std::string&, const std::string&) override {}
  void memberLeft(const std::string&, const std::string&) override {}
  void channelMessageReceived(const std::string&, const std::string& text,
                              const std::string& userId) override {
    const std::lock_guard lock(mutex_);
    ++heard_[userId][std::stoi(text)];
  }
  void channelStateChanged(const std::string&, AgoraRtmChannelState state, const std::string&,
                           std::chrono::milliseconds silence) override {
    const std::lock_guard lock(mutex_);
    if (state == AgoraRtmChannelState::interrupted)
      gaps_.push_back({Clock::now() - silence, Clock::time_point::max()});
    if (state == AgoraRtmChannelState::resumed) gaps_.back().to = Clock::now();
  }

  void say(AgoraRtmKit& kit, int number) {
    const auto begin = Clock::now();
    kit.channels()->at("c")->send(std::to_string(number), [this, number, begin](auto code) {
      const std::lock_guard lock(mutex_);
      said_.emplace(number, Said{begin, Clock::now(), code == 0});
    });
  }

  [[nodiscard]] std::map<int, Said> said() const {
    const std::lock_guard lock(mutex_);
    return said_;
  }
  [[nodiscard]] int heard(const std::string& sender, int number) const {
    const std::lock_guard lock(mutex_);
    const auto texts = heard_.find(sender);
    if (texts == heard_.end() || !texts->second.contains(number)) return 0;
    return texts->second.at(number);
  }
  [[nodiscard]] bool heardSince(const std::string& sender, int number) const {
    const std::lock_guard lock(mutex_);
    const auto texts = heard_.find(sender);
    return texts != heard_.end() && texts->second.rbegin()->first > number;
  }
  [[nodiscard]] bool wasTold(const Said& text) const {
    const std::lock_guard lock(mutex_);
    return std::ranges::any_of(gaps_, [&](const Gap& gap) {
      return gap.from <= text.acknowledged && text.begin <= gap.to;
    });
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::map<int, int>> heard_;
  std::map<int, Said> said_;
  std::vector<Gap> gaps_;
};

class ChatOverACluster : public OverACluster {
 protected:
  struct Member {
    std::string id;
    std::shared_ptr<Chatter> chatter = std::make_shared<Chatter>();
    std::shared_ptr<AgoraRtmKit> kit{};
  };

  /// Logged in, and in the channel. Each begins at a node by chance.
  void enter() {
    std::atomic<int> entered = 0;
    for (int i = 0; i < chatters; ++i) {
      auto& member = members_.emplace_back(Member{.id = "user" + std::to_string(i)});
      member.kit = mqttEngine(optionsAt(cluster_.addressOfAll())).value()("app", member.chatter);
      member.kit->login({}, member.id, [&](auto) {
        member.kit->createChannel("c", member.chatter)->join([&](auto code) {
          entered += code == 0 ? 1 : 0;
        });
      });
    }
    ASSERT_TRUE(waitFor([&] { return entered == chatters; }));
  }

  /// One after the other says something, for so long, or until it holds.
  bool chat(Clock::duration time, const std::function<bool()>& holds) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
      for (int i = 0; i < 10; ++i) {
        auto& member = members_[static_cast<std::size_t>(turn_++ % chatters)];
        member.chatter->say(*member.kit, turn_);
      }
      std::this_thread::sleep_for(200ms);
      if (holds && holds()) return true;
    }
    return !holds;
  }

  /// Everyone receives from everyone who sends from now on, and no other member is listed.
  void expectAllTogether(const char* what) {
    const auto begin = Clock::now();
    const auto mark = turn_;
    EXPECT_TRUE(chat(60s, [&] {
      return std::ranges::all_of(members_, [&](const auto& hearer) {
        return std::ranges::all_of(members_, [&](const auto& sender) {
          return &hearer == &sender || hearer.chatter->heardSince(sender.id, mark);
        });
      });
    })) << what;
    const auto heard = Clock::now();
    std::vector<std::string> all, listed;
    for (const auto& member : members_) all.push_back(member.id);
    std::ranges::sort(all);
    for (const auto& member : members_) {
      waitFor([&] { return (listed = listedBy(member)) == all; });
      EXPECT_EQ(listed, all) << what << ", by " << member.id;
    }
    std::printf("%s: all hear each other after %.1f s, no ghost after %.1f s\n", what,
                std::chrono::duration<double>(heard - begin).count(),
                std::chrono::duration<double>(Clock::now() - begin).count());
  }

  static std::vector<std::string> listedBy(const Member& member) {
    const auto answer = std::make_shared<std::promise<std::vector<std::string>>>();
    member.kit->channels()->at("c")->getMembers([answer](auto ids) {
      if (ids) std::ranges::sort(*ids);
      answer->set_value(std::move(ids).value_or(std::vector<std::string>{}));
    });
    return answer->get_future().get();
  }

  /// Of what was acknowledged until now: twice nothing, and nothing missed without a gap.
  void expectNothingDoubledOrLostUntold() {
    int acknowledged = 0, missed = 0, untold = 0, doubled = 0;
    for (const auto& sender : members_)
      for (const auto& [number, text] : sender.chatter->said()) {
        acknowledged += text.isGood ? 1 : 0;
        for (const auto& hearer : members_) {
          if (&hearer == &sender) continue;
          const int heard = hearer.chatter->heard(sender.id, number);
          doubled += heard > 1 ? 1 : 0;
          if (heard > 0 || !text.isGood) continue;
          ++missed;
          untold += hearer.chatter->wasTold(text) ? 0 : 1;
        }
      }
    std::printf("%d texts acknowledged, %d receipts missed\n", acknowledged, missed);
    EXPECT_EQ(doubled, 0);
    EXPECT_EQ(untold, 0);
  }

  std::deque<Member> members_;
  int turn_ = 0;
};

TEST_P(ChatOverACluster, ANodesDeathAndReturnLeaveNoGhostNoDuplicateAndNoUntoldGap) {
  enter();
  // One who never returns.
  auto stranger = std::make_unique<MqttUser>(optionsAt(cluster_.addressOf(2)), "stranger");
  if (!isBridge()) {
    ASSERT_EQ(stranger->login(), 0);
    ASSERT_EQ(stranger->join("c"), 0);
  }
  chat(3s, {});
  cluster_.kill(2);
  stranger.reset();
  expectAllTogether("node 2 killed");
  cluster_.start(2);
  expectAllTogether("node 2 back");
  expectNothingDoubledOrLostUntold();
  cluster_.kill(1);
  cluster_.start(1);
  expectAllTogether("node 1 back");
  // Those whose broker lives do not notice that it has lost its bridge.
  if (!isBridge()) expectNothingDoubledOrLostUntold();
}

constexpr std::array kinds{"bridge", "ejabberd"};
const auto nameOf = [](const auto& tested) { return std::string(tested.param); };
INSTANTIATE_TEST_SUITE_P(Of, OverACluster, ::testing::ValuesIn(kinds), nameOf);
INSTANTIATE_TEST_SUITE_P(Of, ChatOverACluster, ::testing::ValuesIn(kinds), nameOf);

}  // namespace
}  // namespace zavelo::testing

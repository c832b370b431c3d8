#include <gtest/gtest.h>

#include <signal.h>

#include <deque>
#include <fstream>

#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "tests/messaging/scripted_broker.hpp"

namespace zavelo::testing {
namespace {

using namespace std::chrono_literals;
using Ids = std::vector<std::string>;
using Heard = std::vector<std::string>;

TEST(MqttBreak, ABrokerThatIsKilledAndComesBackFindsEverybodyAgain) {
  auto broker = startBroker();
  const auto port = broker->port();
  MqttUser ann(hurried(addressOf(*broker)), "ann"), bob(hurried(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  ASSERT_TRUE(ann.hears("c +bob"));
  ann.ears->forget(), bob.ears->forget();

  kill(broker->process(), SIGKILL);
  ASSERT_TRUE(ann.hears("state 4/5") && bob.hears("state 4/5"));
  ASSERT_TRUE(waitFor([&] { return ann.say("c", "lost") != 0; }));
  EXPECT_NE(ann.tell("bob", "lost"), 0);
  EXPECT_EQ(ann.members("c"), Ids{"none"});
  EXPECT_EQ(ann.login(), rtmCode::loginAlreadyLoggedIn);

  broker.reset();
  broker = startBroker({.port = port});
  ASSERT_TRUE(ann.hears("state 3/2") && bob.hears("state 3/2"));
  ASSERT_TRUE(waitFor([&] { return ann.members("c") == Ids({"ann", "bob"}); }));
  ASSERT_TRUE(waitFor([&] { return bob.members("c") == Ids({"ann", "bob"}); }));
  EXPECT_EQ(ann.say("c", "again"), 0);
  EXPECT_TRUE(bob.hears("c ann: again"));
  EXPECT_EQ(bob.tell("ann", "me too"), 0);
  // Nobody has left and come in between, for those who were away themselves.
  EXPECT_EQ(bob.ears->heard(), (Heard{"state 4/5", "state 3/2", "c ann: again"}));
}

TEST(MqttBreak, WhoIsMissingAfterABreakHasLeft) {
  auto broker = startBroker();
  const auto port = broker->port();
  auto soon = hurried(addressOf(*broker));
  soon.leftGrace = 300ms;
  MqttUser ann(soon, "ann");
  ann.login(), ann.join("c");
  {
    test::ChildProcess bob({ZAVELO_MQTT_CHILD, addressOf(*broker), "bob", "c"});
    ASSERT_TRUE(ann.hears("c +bob"));
    kill(broker->process(), SIGKILL);
    ASSERT_TRUE(ann.hears("state 4/5"));
  }
  EXPECT_FALSE(ann.ears->has("c -bob"));
  broker.reset();
  broker = startBroker({.port = port});
  EXPECT_TRUE(ann.hears("c -bob"));
  EXPECT_EQ(ann.members("c"), Ids{"ann"});
}

TEST(MqttBreak, AFrozenBrokerAcknowledgesNothing) {
  const auto broker = startBroker();
  MqttUser ann(hurried(addressOf(*broker)), "ann"), bob(hurried(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  kill(broker->process(), SIGSTOP);
  EXPECT_EQ(ann.say("c", "into the cold"), rtmCode::failure);
  MqttUser eve(hurried(addressOf(*broker)), "eve");
  EXPECT_EQ(eve.tell("ann", "x"), rtmCode::notLoggedIn);
  EXPECT_TRUE(ann.hears("state 4/5"));  // it answers no ping
  kill(broker->process(), SIGCONT);
  ASSERT_TRUE(ann.hears("state 3/2"));
  // Bob may be about to notice the silence only now, and misses what is said until he is back.
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "warm") == 0 && bob.ears->has("c ann: warm"); }));
}

TEST(MqttBreak, AKilledProcessLeavesNothingBehind) {
  const auto broker = startBroker();
  MqttUser ann(hurried(addressOf(*broker)), "ann");
  ann.login(), ann.join("c");
  {
    test::ChildProcess bob({ZAVELO_MQTT_CHILD, addressOf(*broker), "bob", "c"});
    ASSERT_TRUE(ann.hears("c +bob"));
    EXPECT_EQ(ann.tell("bob", "there?"), 0);
  }  // by SIGKILL
  EXPECT_TRUE(ann.hears("c -bob"));
  EXPECT_TRUE(waitFor([&] { return ann.tell("bob", "there?") == rtmCode::failure; }));
  MqttUser late(hurried(addressOf(*broker)), "late");
  late.login(), late.join("c");
  EXPECT_EQ(late.members("c"), Ids({"ann", "late"}));
}

TEST(MqttBreak, AnUnansweredStepOfALoginIsABrokenConnection) {
  constexpr int connect = 1, firstSubscription = 2, login = 4;
  constexpr int answered[] = {login, firstSubscription, connect, login - 1, login};
  const ScriptedBroker server([&](int client, int number) {
    answerPackets(client, number < 5 ? answered[number] : 0);
    if (number == 0) shutdown(client, SHUT_RDWR);
  });
  MqttUser ann(hurried(server.address()), "ann");
  ASSERT_EQ(ann.login(), 0);
  ASSERT_TRUE(ann.hears("state 4/5"));
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 3/2") == 2; }));
}

TEST(MqttBreak, ChannelsComeBackWhenTheTokenIsRenewed) {
  const test::TemporaryFolder folder;
  const auto startWith = [&](const std::string& password, std::uint16_t port) {
    const auto passwords = folder / password;
    std::ofstream(passwords) << "ann:" << password << "\nbob:" << password << "\n";
    EXPECT_EQ(test::ChildProcess({"/usr/bin/mosquitto_passwd", "-U", passwords}).wait(), 0);
    return startBroker({.port = port, .settings = {"password_file " + passwords.string()}});
  };
  auto broker = startWith("first", 0);
  const auto port = broker->port();
  std::atomic<bool> isRenewed = false;
  auto known = hurried(addressOf(*broker));
  known.token = [&](const std::string&) { return isRenewed ? "second" : "first"; };
  MqttUser ann(known, "ann"), bob(known, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  broker.reset();
  broker = startWith("second", port);
  ASSERT_TRUE(ann.hears("token expired"));
  ASSERT_TRUE(ann.hears("state 1/3") && bob.hears("state 1/3"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notLoggedIn);
  isRenewed = true;
  for (auto* each : {&ann, &bob}) EXPECT_EQ(each->login(), 0);
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "back") == 0 && bob.ears->has("c ann: back"); }));
  EXPECT_TRUE(ann.ears->reported("c resumed"));
  // What the app leaves, or logs out of, stays away.
  EXPECT_EQ(ann.logout(), 0);
  EXPECT_EQ(ann.login(), 0);
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notInChannel);
}

TEST(MqttBreak, TheNextBrokerIsTriedAndEachAddressOfAName) {
  auto first = startBroker();
  const auto second = startBroker();
  const auto address = "mqtt://localhost:" + std::to_string(first->port()) +
                       ",localhost:" + std::to_string(second->port()) + ",127.0.0.1:1";
  MqttUser ann(hurried(address), "ann");
  ASSERT_TRUE(waitFor([&] { return ann.login() % rtmCode::loginAlreadyLoggedIn == 0; }));
  EXPECT_EQ(ann.join("c"), 0);
  first.reset();
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "x") == 0; }));
  MqttUser lost(hurried("mqtt://no.such.host.invalid"), "ann");
  EXPECT_EQ(lost.login(), rtmCode::rejected);
}

TEST(MqttBreak, ASuspendedUserLeavesAtOnceAndComesBack) {
  const auto broker = startBroker();
  MqttUser ann(hurried(addressOf(*broker)), "ann"), bob(hurried(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  ann.kit->suspend();
  EXPECT_TRUE(bob.hears("c -ann"));
  EXPECT_TRUE(ann.hears("state 4/5"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::failure);
  ann.kit->setInBackground(true);
  ann.kit->resume();
  EXPECT_TRUE(waitFor([&] { return ann.ears->reported("c resumed"); }));
  EXPECT_TRUE(bob.hears("c +ann"));
  EXPECT_EQ(bob.tell("ann", "there?"), 0);
  EXPECT_TRUE(ann.ears->reported("c interrupted, suspended"));

  // In another network the old connections are dead, which nothing says.
  kill(broker->process(), SIGSTOP);
  ann.kit->networkChanged();
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 4/5") == 2; }));
  kill(broker->process(), SIGCONT);
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 3/2") == 3; }));
}

TEST(MqttBreak, TimeOutsDoNotWaitForTheNextPing) {
  const auto broker = startBroker();
  auto calm = hurried(addressOf(*broker));
  calm.keepAlive = 120s;
  MqttUser ann(calm, "ann");
  ann.login(), ann.join("c");
  kill(broker->process(), SIGSTOP);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ann.say("c", "into the cold"), rtmCode::failure);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
  kill(broker->process(), SIGCONT);
}

}  // namespace
}  // namespace zavelo::testing

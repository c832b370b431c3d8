#include <gtest/gtest.h>

#include <deque>
#include <fstream>

#include "support/certificates.hpp"
#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "tests/messaging/scripted_broker.hpp"

namespace zavelo::testing {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Heard = std::vector<std::string>;

TEST(MqttLogin, OfManySessionsOfOneUserOneStaysAndTheOthersDoNotFight) {
  const auto broker = startBroker();
  std::deque<MqttUser> sessions;
  for (int i = 0; i < 8; ++i) sessions.emplace_back(hurried(addressOf(*broker)), "ann");
  // All at once: whatever the order in which they meet, they agree on the winner.
  std::atomic<int> answered = 0;
  for (auto& each : sessions) each.kit->login({}, "ann", [&](std::int64_t) { ++answered; });
  ASSERT_TRUE(waitFor([&] { return answered == 8; }));
  const auto ended = [&] {
    return std::ranges::count_if(sessions,
                                 [](const auto& each) { return each.ears->has("state 5/8"); });
  };
  ASSERT_TRUE(waitFor([&] { return ended() == 7; }));
  MqttUser bob(hurried(addressOf(*broker)), "bob");
  bob.login();
  EXPECT_EQ(bob.tell("ann", "who is it"), 0);
  const auto heard = [&] {
    return std::ranges::count_if(
        sessions, [](const auto& each) { return each.ears->has("peer bob: who is it"); });
  };
  EXPECT_TRUE(waitFor([&] { return heard() == 1; }));
  EXPECT_EQ(ended(), 7);
  for (const auto& each : sessions) EXPECT_EQ(each.ears->count("state 2/1"), 1);
}

TEST(MqttLogin, ALaterOneWinsOverOneThatIsCutOff) {
  const auto broker = startBroker();
  MqttUser first(hurried(addressOf(*broker)), "ann");
  first.login();
  test::ChildProcess later({ZAVELO_MQTT_CHILD, addressOf(*broker), "ann", "c"});
  ASSERT_EQ(later.readLine(), "in");
  EXPECT_TRUE(first.hears("state 5/8"));
  EXPECT_EQ(first.tell("ann", "x"), rtmCode::notLoggedIn);
}

/// Whoever connects is told this, and nothing more.
ScriptedBroker nonsense(const std::string& text) {
  return ScriptedBroker(
      [text](int client, int) { send(client, text.data(), text.size(), MSG_NOSIGNAL); });
}

TEST(MqttLogin, FailsAtWhatIsNoBroker) {
  for (const auto& text : std::initializer_list<std::string>{
           "HTTP/1.1 400 Bad Request\r\n\r\n" + std::string(100, ' '),
           "\xff\xff\xff\xff\xff\xff\xff", "\x20\x03\x00\x87\x00"s}) {
    const ScriptedBroker server = nonsense(text);
    MqttUser ann(hurried(server.address()), "ann");
    EXPECT_EQ(ann.login(), rtmCode::rejected);
    EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/3"}));
  }
  const ScriptedBroker silent = nonsense("");
  auto brief = hurried(silent.address());
  brief.loginTimeout = 200ms;
  MqttUser ann(brief, "ann");
  EXPECT_EQ(ann.login(), rtmCode::failure);
  EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/4"}));

  for (const char* address : {"", "http://127.0.0.1", "mqtt://", "mqtt://a b", "mqtt://h:0",
                              "mqtt://h:70000", "mqtt://[::1", "mqtt://u@h", "mqtt://h/path"})
    EXPECT_FALSE(mqttEngine({.address = address})) << address;
}

TEST(MqttLogin, NeedsWhatTheBrokerAsksFor) {
  const test::TemporaryFolder folder;
  const auto passwords = folder / "passwords";
  std::ofstream(passwords) << "ann:secret\n";
  ASSERT_EQ(test::ChildProcess({"/usr/bin/mosquitto_passwd", "-U", passwords}).wait(), 0);
  const auto broker = startBroker({.settings = {"password_file " + passwords.string()}});
  auto brief = hurried(addressOf(*broker));
  MqttUser ann(brief, "ann");
  EXPECT_EQ(ann.login(), rtmCode::rejected);  // without a token
  EXPECT_EQ(ann.login(), rtmCode::rejected);
  EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/3", "state 2/1", "state 1/3"}));
  brief.token = [](const std::string& userId) { return userId == "ann" ? "secret" : ""; };
  MqttUser known(brief, "ann");
  EXPECT_EQ(known.login(), 0);
  EXPECT_EQ(known.join("c"), 0);
}

TEST(MqttLogin, EndsWhenAnAdministratorEndsIt) {
  const test::TemporaryFolder folder;
  const auto users = (folder / "users.json").string();
  const auto administer = [](std::vector<std::string> words) {
    words.insert(words.begin(), {"/usr/bin/mosquitto_ctrl"});
    return test::ChildProcess(std::move(words)).wait();
  };
  ASSERT_EQ(administer({"dynsec", "init", users, "admin", "secret"}), 0);
  const auto broker = startBroker(
      {.settings = {"plugin /usr/lib/" ZAVELO_MULTIARCH "/mosquitto_dynamic_security.so",
                    "plugin_opt_config_file " + users}});
  const auto change = [&](std::vector<std::string> words) {
    const std::vector<std::string> where{"-h",    "127.0.0.1", "-p", std::to_string(broker->port()),
                                         "-u",    "admin",     "-P", "secret",
                                         "dynsec"};
    words.insert(words.begin(), where.begin(), where.end());
    EXPECT_EQ(administer(words), 0);
  };
  change({"createClient", "ann", "-p", "pw"});
  auto known = hurried(addressOf(*broker));
  known.token = [](const std::string&) { return "pw"; };
  MqttUser ann(known, "ann");
  ASSERT_EQ(ann.login(), 0);
  ASSERT_EQ(ann.join("c"), 0);
  change({"disableClient", "ann"});
  EXPECT_TRUE(ann.hears("state 5/7"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notLoggedIn);
  EXPECT_EQ(ann.login(), rtmCode::rejected);
}

TEST(MqttTls, ATrustedBrokerIsTalkedToAndNoOther) {
  const test::TemporaryFolder folder;
  const test::ServerCertificate certificate("IP:127.0.0.1"), other("IP:127.0.0.1");
  certificate.appendTo(folder / "broker.pem");
  certificate.writeKeyTo(folder / "key.pem");
  other.appendTo(folder / "other.pem");
  const auto broker = startBroker({.settings = {"certfile " + (folder / "broker.pem").string(),
                                                "keyfile " + (folder / "key.pem").string()}});
  auto secure = hurried("mqtts://127.0.0.1:" + std::to_string(broker->port()));
  secure.maximumTextSize = 1'000'000;
  MqttUser stranger(secure, "eve");
  EXPECT_EQ(stranger.login(), rtmCode::rejected);
  secure.caFile = folder / "other.pem";
  MqttUser misled(secure, "eve");
  EXPECT_EQ(misled.login(), rtmCode::rejected);
  MqttUser plain(hurried(addressOf(*broker)), "eve");
  EXPECT_EQ(plain.login(), rtmCode::rejected);

  secure.caFile = folder / "broker.pem";
  MqttUser ann(secure, "ann"), bob(secure, "bob");
  for (auto* each : {&ann, &bob}) {
    ASSERT_EQ(each->login(), 0);
    ASSERT_EQ(each->join("c"), 0);
  }
  // Many small ones share a record, a large one takes several.
  const auto channel = ann.kit->channels()->at("c");
  for (int i = 0; i < 500; ++i) channel->send(std::to_string(i), {});
  const std::string large(300'000, 'x');
  EXPECT_EQ(ann.say("c", large), 0);
  EXPECT_TRUE(bob.hears("c ann: " + large));
  EXPECT_EQ(std::ranges::count_if(bob.ears->heard(),
                                  [](const auto& what) { return what.starts_with("c ann: "); }),
            501);
}

}  // namespace
}  // namespace zavelo::testing

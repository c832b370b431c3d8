#include <gtest/gtest.h>

#include "support/child_process.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::testing {
namespace {

using Ids = std::vector<std::string>;

/// The broker's own tools, as a user of their own choice.
class Tools {
 public:
  explicit Tools(const sandbox::BrokerProcess& broker) : port_(std::to_string(broker.port())) {}

  [[nodiscard]] test::ChildProcess listen(const std::string& filter, int count) const {
    return test::ChildProcess({"/usr/bin/mosquitto_sub", "-V", "5", "-h", "127.0.0.1", "-p", port_,
                               "-u", "eve", "-t", filter, "-v", "-C", std::to_string(count), "-W",
                               "60"});
  }
  void publish(const std::string& user, const std::string& topic, const std::string& text,
               std::vector<std::string> more = {"-r"}) const {
    more.insert(more.begin(), {"/usr/bin/mosquitto_pub", "-V", "5", "-h", "127.0.0.1", "-p", port_,
                               "-u", user, "-t", topic, "-m", text, "-q", "1"});
    test::ChildProcess(std::move(more)).wait();
  }

 private:
  const std::string port_;
};

TEST(MqttWire, CarriesTheTextAsItIsUnderItsSender) {
  const auto broker = startBroker();
  const Tools tools(*broker);
  MqttUser ann({.address = addressOf(*broker)}, "a/n");
  ann.login(), ann.join("room 1");
  auto outside = tools.listen("rt1/app/c/#", 2);
  const auto presence = outside.readLine();  // retained: it listens now
  EXPECT_TRUE(
      presence.starts_with("rt1/app/c/room%201/p/" + std::to_string(mqttShard("a/n")) + "/a%2Fn/"))
      << presence;

  ZVStreamMessage line;
  line.message = "hi \"there\" 😀";
  line.messageType = 1;
  const auto text = ZVMessage(line).toJsonString().value();
  ann.say("room 1", text);
  EXPECT_EQ(outside.readLine(), "rt1/app/c/room%201/m/a%2Fn " + text);
}

TEST(MqttWire, NobodySpeaksForAnother) {
  const auto broker = startBroker();
  const Tools tools(*broker);
  MqttUser ann({.address = addressOf(*broker)}, "ann"), bob({.address = addressOf(*broker)}, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  ASSERT_TRUE(ann.hears("c +bob"));
  ann.ears->forget();
  tools.publish("eve", mqttChannelTopic("app", "c", "bob"), "forged");
  tools.publish("eve", mqttInboxTopic("app", "ann", "bob"), "forged");
  tools.publish("eve", mqttClaimTopic("app", "ann"), "99.eve");
  tools.publish("eve", mqttPresenceTopic("app", "c", "ghost", "s"), "1");
  tools.publish("eve", mqttChannelTopic("app", "c", "eve"), "as myself");
  tools.publish("eve", mqttInboxTopic("app", "ann", "eve"), "as myself");
  EXPECT_TRUE(ann.hears("peer eve: as myself"));
  EXPECT_TRUE(ann.hears("c eve: as myself"));
  EXPECT_EQ(ann.ears->heard().size(), 2U);
  EXPECT_EQ(ann.members("c"), Ids({"ann", "bob"}));
}

TEST(MqttWire, WhatIsOutOfOrderIsPassedOver) {
  const auto broker = startBroker();
  const Tools tools(*broker);
  // Left behind, or written by hand.
  tools.publish("eve", "rt1/app/c/c/p/0/eve/s", "1");  // another one's shard, unless by chance
  tools.publish("eve", "rt1/app/c/c/m/eve", "from before");
  tools.publish("ann", mqttClaimTopic("app", "ann"), "no claim");
  MqttUser ann({.address = addressOf(*broker)}, "ann");
  ASSERT_NE(mqttShard("eve"), 0U);
  ASSERT_EQ(ann.login(), 0);
  ASSERT_EQ(ann.join("c"), 0);
  EXPECT_EQ(ann.members("c"), Ids({"ann"}));
  // Somebody sweeps away what stands under ann's own name: it is said again.
  tools.publish("ann", mqttClaimTopic("app", "ann"), "");
  tools.publish("ann", mqttClaimTopic("app", "ann"), "0.older");
  EXPECT_EQ(ann.tell("ann", "still here"), 0);
  EXPECT_TRUE(ann.hears("peer ann: still here"));
  EXPECT_FALSE(ann.ears->has("state 5/8"));
  // A greater claim soon after the login may be an older login's that comes late; a second is not.
  tools.publish("ann", mqttClaimTopic("app", "ann"), "99.newer");
  tools.publish("ann", mqttClaimTopic("app", "ann"), "999.newest");
  EXPECT_TRUE(ann.hears("state 5/8"));
}

TEST(MqttWire, AMemberWhoIsListedBeforeTheMessageComesIsToldOnce) {
  const auto broker = startBroker();
  const Tools tools(*broker);
  MqttEngineOptions patient{.address = addressOf(*broker)};
  patient.leftGrace = std::chrono::minutes(1);
  MqttUser ann(patient, "ann");
  // A broker may store an entry before it delivers it: ann finds it in the list first.
  const auto entry = mqttPresenceTopic("app", "c", "eve", "s");
  tools.publish("eve", entry, "1");
  ann.login(), ann.join("c");
  ASSERT_EQ(ann.members("c").size(), 2U);
  EXPECT_FALSE(ann.ears->has("c +eve"));
  for (int i = 0; i < 2; ++i) tools.publish("eve", entry, "1");
  tools.publish("eve", entry, "");
  EXPECT_TRUE(ann.hears("c -eve"));
  EXPECT_EQ(ann.ears->count("c +eve"), 1U);
}

TEST(MqttWire, TextsThatAreNoLiveChatAreDroppedAndCounted) {
  const auto broker = startBroker();
  const Tools tools(*broker);
  const auto topic = mqttChannelTopic("app", "c", "eve");
  tools.publish("eve", topic, "retained");
  MqttUser ann({.address = addressOf(*broker)}, "ann");
  ann.login(), ann.join("c");
  ann.ears->forget();
  tools.publish("eve", topic, "not \xff UTF-8", {});
  MqttEngineOptions talkative{.address = addressOf(*broker)};
  talkative.maximumTextSize = 50'000'000;
  MqttUser eve(talkative, "eve");
  eve.login(), eve.join("c");
  eve.say("c", std::string(100'000, 'x'));
  eve.say("c", std::string(40'000'000, 'x'));  // the broker keeps it to itself
  const std::vector<std::string> same{"-D", "publish", "user-property", "id", "e.1"};
  for (const char* text : {"once", "twice"}) tools.publish("eve", topic, text, same);
  eve.say("c", "last");
  ASSERT_TRUE(ann.hears("c eve: last"));
  EXPECT_EQ(ann.ears->heard(), Ids({"c +eve", "c eve: once", "c eve: last"}));
  const auto reports = ann.ears->reports();
  EXPECT_EQ(std::ranges::count(reports, "dropped c"), 2);
}

TEST(MqttTopics, StandForOneIdEach) {
  for (const std::string id : {"ann", "a/b", "+", "#", "%2F", "ü 😀", "$SYS"}) {
    const auto topic = parsedMqttTopic(mqttPresenceTopic("", id, id, "s"));
    ASSERT_TRUE(topic) << id;
    EXPECT_EQ(topic->channelId, id);
    EXPECT_EQ(topic->userId, id);
  }
  for (const char* topic : {"", "rt1", "rt1/app/u/ann/t", "rt1/app/u/%61nn/s", "rt1/app/u/%2f/s",
                            "rt1/app/u/%/s", "rt1/app/u/%2/s", "rt1/app/u/%zz/s", "rt1/app/u//s",
                            "rt2/app/u/ann/s", "rt1/app/c/c/m/ann/more", "rt1/app/c/c/p/64/ann/s"})
    EXPECT_FALSE(parsedMqttTopic(topic)) << topic;
}

}  // namespace
}  // namespace zavelo::testing

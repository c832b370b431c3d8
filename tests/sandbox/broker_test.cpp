#include <gtest/gtest.h>

#include "tests/sandbox/backend.hpp"
#include "tests/sandbox/channel_client.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::HasSubstr;

TEST(BrokerTest, VouchesForTheSenderInATopic) {
  const Backend backend({.brokerPort = 0});
  const ChannelClient client(*backend.sandbox->rtmUrl(), "s1");
  const auto listener = client.listen();
  client.publish("mallory", mqttChannelTopic("app", "s1", "host"), "forged");
  client.publish("mallory", mqttChannelTopic("app", "s1", "mallory") + "/host", "forged");
  client.say("mallory", "as myself");
  EXPECT_EQ(listener->readLine(), "rt1/app/c/s1/m/mallory as myself");
}

TEST(BrokerTest, HealthTellsWhereItIs) {
  const Backend with({.brokerPort = 0});
  EXPECT_THAT(with.send("GET", "/sandbox/health").body,
              HasSubstr(R"("rtmUrl":")" + *with.sandbox->rtmUrl() + '"'));
  const Backend without;
  EXPECT_THAT(without.send("GET", "/sandbox/health").body, HasSubstr(R"("rtmUrl":null)"));
  with.sandbox->stop();
  EXPECT_EQ(with.sandbox->rtmUrl(), std::nullopt);
}

TEST(BrokerTest, TakenPortIsSaidPlainly) {
  const Backend first({.brokerPort = 0});
  const auto url = *first.sandbox->rtmUrl();
  const auto port = static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
  const auto second = Sandbox::start({.port = 0, .brokerPort = port});
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error(), "port " + std::to_string(port) +
                                " for the broker: Address already in use (another port: "
                                "--broker-port, no broker: --no-broker)");
}

}  // namespace
}  // namespace zavelo::sandbox

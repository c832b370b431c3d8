#include <gtest/gtest.h>

#include <ostream>

#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/testing/rtm_engine_contract.hpp"

namespace zavelo::testing {

static void PrintTo(const RtmContractClause& clause, std::ostream* out) {
  *out << clause.name;
}

namespace {

class MqttUnderTest final : public RtmEngineUnderTest {
 public:
  std::shared_ptr<AgoraRtmKit> createKit(std::weak_ptr<AgoraRtmDelegate> delegate) override {
    return engine_("app", std::move(delegate));
  }
  bool waitUntil(const std::function<bool()>& holds) override { return waitFor(holds); }

 private:
  const std::unique_ptr<sandbox::BrokerProcess> broker_ = startBroker();
  const AgoraRtmKitFactory engine_ = mqttEngine({.address = addressOf(*broker_)}).value();
};

class MqttContract : public ::testing::TestWithParam<RtmContractClause> {};

TEST_P(MqttContract, HoldsOverABroker) {
  MqttUnderTest engine;
  EXPECT_EQ(GetParam().check(engine), "");
}

INSTANTIATE_TEST_SUITE_P(Mqtt, MqttContract, ::testing::ValuesIn(rtmEngineContract()),
                         [](const auto& clause) { return std::string(clause.param.name); });

}  // namespace
}  // namespace zavelo::testing

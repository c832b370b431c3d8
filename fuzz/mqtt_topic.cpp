#include "zavelo/messaging/engines/mqtt_topics.hpp"

#include "fuzz/fuzz.hpp"
#include "zavelo/messaging/engines/mqtt/claim_internal.hpp"

// What others write to a broker: topics and claims.

namespace zavelo::fuzz {
namespace {

std::string written(const MqttTopic& topic) {
  switch (topic.kind) {
    case MqttTopic::Kind::claim:
      return mqttClaimTopic(topic.appId, topic.userId);
    case MqttTopic::Kind::inbox:
      return mqttInboxTopic(topic.appId, topic.userId, topic.senderId);
    case MqttTopic::Kind::channelText:
      return mqttChannelTopic(topic.appId, topic.channelId, topic.userId);
    case MqttTopic::Kind::presence:
      return mqttPresenceTopic(topic.appId, topic.channelId, topic.userId, topic.session);
    case MqttTopic::Kind::fence:
      return mqttFenceTopic(topic.appId, topic.channelId, topic.userId, topic.session);
  }
  return {};
}

}  // namespace

void run(std::string_view input) {
  if (const auto topic = parsedMqttTopic(input))
    require(written(*topic) == input, "a topic that is read is one that the engine writes");

  const std::string level = mqttLevel(input);
  require(level.find_first_of("/+#") == std::string::npos, "an id is one level of a topic");
  require(input.empty() || mqttId(level) == input, "an id comes back from its level");
  require(mqttShard(input) < mqttShardCount, "a user is in a shard");

  const auto claim = detail::MqttClaim::parsed(input);
  if (claim) require(detail::MqttClaim::parsed(claim->text()) == claim, "a claim comes back");
}

}  // namespace zavelo::fuzz

#include "zavelo/messaging/engines/mqtt_topics.hpp"

#include <charconv>
#include <cstdint>
#include <vector>

namespace zavelo {
namespace {

constexpr std::string_view root = "rt1";

bool isUnreserved(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

std::string inApp(std::string_view appId, std::string_view kind, std::string_view id) {
  return std::string(root).append("/").append(mqttLevel(appId)).append(kind).append(mqttLevel(id));
}

std::vector<std::string_view> levelsOf(std::string_view topic) {
  std::vector<std::string_view> levels;
  for (;;) {
    const auto slash = topic.find('/');
    levels.push_back(topic.substr(0, slash));
    if (slash == std::string_view::npos) return levels;
    topic.remove_prefix(slash + 1);
  }
}

/// Takes ids out of levels, and remembers whether one of them was none.
struct Ids {
  bool sound = true;

  std::string operator()(std::string_view level) {
    auto id = mqttId(level);
    if (!id) sound = false;
    return std::move(id).value_or("");
  }
};

std::optional<MqttTopic> parsedInApp(const std::vector<std::string_view>& levels, Ids& ids) {
  using enum MqttTopic::Kind;
  const auto is = [&](std::string_view area, std::string_view part, std::size_t count) {
    return levels[2] == area && levels[4] == part && levels.size() == count;
  };
  const auto app = levels[1].empty() ? std::string() : ids(levels[1]);
  if (is("u", "s", 5)) return MqttTopic{claim, app, {}, ids(levels[3])};
  if (is("u", "i", 6)) return MqttTopic{inbox, app, {}, ids(levels[3]), ids(levels[5])};
  if (is("c", "m", 6)) return MqttTopic{channelText, app, ids(levels[3]), ids(levels[5])};
  if (is("c", "f", 7))
    return MqttTopic{fence, app, ids(levels[3]), ids(levels[5]), {}, ids(levels[6])};
  if (is("c", "p", 8)) {
    MqttTopic topic{presence, app, ids(levels[3]), ids(levels[6]), {}, ids(levels[7])};
    // One place a user: who stands in another one's is nobody.
    if (levels[5] == std::to_string(mqttShard(topic.userId))) return topic;
  }
  return std::nullopt;
}

}  // namespace

std::string mqttLevel(std::string_view id) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string level;
  level.reserve(id.size());
  for (const char c : id) {
    if (isUnreserved(c)) {
      level += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    level += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return level;
}

std::optional<std::string> mqttId(std::string_view level) {
  std::string id;
  for (std::size_t at = 0; at < level.size(); ++at) {
    if (level[at] != '%') {
      id += level[at];
      continue;
    }
    unsigned byte = 0;
    const auto code = level.substr(at + 1, 2);
    const auto [end, error] = std::from_chars(code.data(), code.data() + code.size(), byte, 16);
    if (error != std::errc() || end != code.data() + 2) return std::nullopt;
    id += static_cast<char>(byte);
    at += 2;
  }
  // One way to write an id: two topics never stand for one.
  if (id.empty() || mqttLevel(id) != level) return std::nullopt;
  return id;
}

unsigned mqttShard(std::string_view userId) {
  std::uint32_t hash = 2166136261U;
  for (const char c : userId) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash % mqttShardCount;
}

std::string mqttClaimTopic(std::string_view appId, std::string_view userId) {
  return inApp(appId, "/u/", userId) + "/s";
}

std::string mqttInboxTopic(std::string_view appId, std::string_view userId,
                           std::string_view senderId) {
  return inApp(appId, "/u/", userId) + "/i/" + mqttLevel(senderId);
}

std::string mqttInboxFilter(std::string_view appId, std::string_view userId) {
  return inApp(appId, "/u/", userId) + "/i/+";
}

std::string mqttChannelTopic(std::string_view appId, std::string_view channelId,
                             std::string_view senderId) {
  return inApp(appId, "/c/", channelId) + "/m/" + mqttLevel(senderId);
}

std::string mqttChannelFilter(std::string_view appId, std::string_view channelId) {
  return inApp(appId, "/c/", channelId) + "/m/+";
}

std::string mqttPresenceTopic(std::string_view appId, std::string_view channelId,
                              std::string_view userId, std::string_view session) {
  return inApp(appId, "/c/", channelId) + "/p/" + std::to_string(mqttShard(userId)) + "/" +
         mqttLevel(userId) + "/" + mqttLevel(session);
}

std::string mqttFenceTopic(std::string_view appId, std::string_view channelId,
                           std::string_view userId, std::string_view session) {
  return inApp(appId, "/c/", channelId) + "/f/" + mqttLevel(userId) + "/" + mqttLevel(session);
}

std::string mqttPresenceFilter(std::string_view appId, std::string_view channelId,
                               std::optional<unsigned> shard) {
  return inApp(appId, "/c/", channelId) + "/p/" + (shard ? std::to_string(*shard) : "+") + "/+/+";
}

std::optional<MqttTopic> parsedMqttTopic(std::string_view topic) {
  const auto levels = levelsOf(topic);
  if (levels.size() < 5 || levels[0] != root) return std::nullopt;
  Ids ids;
  auto parsed = parsedInApp(levels, ids);
  return ids.sound ? parsed : std::nullopt;
}

}  // namespace zavelo

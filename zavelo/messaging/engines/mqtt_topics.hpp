#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zavelo/base/export.hpp"

namespace zavelo {

// Where what the mqtt engine says stands on a broker, for tools that listen in or speak from
// outside. An id is one level of a topic: what is not a letter, a digit, "-", ".", "_" or "~" is
// percent-encoded (RFC 3986 section 2.1). The user of a connection to the broker has the user's
// encoded id as its name, so that an access list can vouch for the sender in a topic.
//
//   rt1/{app}/u/{user}/s                            who is logged in; retained
//   rt1/{app}/u/{user}/i/{sender}                   texts to one user
//   rt1/{app}/c/{channel}/m/{sender}                texts to a channel, as they are
//   rt1/{app}/c/{channel}/p/{shard}/{user}/{session}  who is in a channel; retained, empty: gone
//   rt1/{app}/c/{channel}/f/{user}/{session}        a session's word to itself: it has heard what
//                                                   came before

/// An id as a level of a topic, and as the name of a broker's user.
[[nodiscard]] ZAVELO_EXPORT std::string mqttLevel(std::string_view id);
/// The id that a level stands for; none when it stands for none.
[[nodiscard]] ZAVELO_EXPORT std::optional<std::string> mqttId(std::string_view level);

/// How many parts the presence of a channel has. A user's is the FNV-1a hash (32 bits) of the id
/// modulo this number.
inline constexpr unsigned mqttShardCount = 64;
[[nodiscard]] ZAVELO_EXPORT unsigned mqttShard(std::string_view userId);

[[nodiscard]] ZAVELO_EXPORT std::string mqttClaimTopic(std::string_view appId,
                                                       std::string_view userId);
[[nodiscard]] ZAVELO_EXPORT std::string mqttInboxTopic(std::string_view appId,
                                                       std::string_view userId,
                                                       std::string_view senderId);
[[nodiscard]] ZAVELO_EXPORT std::string mqttChannelTopic(std::string_view appId,
                                                         std::string_view channelId,
                                                         std::string_view senderId);
[[nodiscard]] ZAVELO_EXPORT std::string mqttPresenceTopic(std::string_view appId,
                                                          std::string_view channelId,
                                                          std::string_view userId,
                                                          std::string_view session);

// Filters for subscriptions: of everybody's texts to a user or a channel, and of who is in a
// channel, in one of its shards or in all.
[[nodiscard]] ZAVELO_EXPORT std::string mqttInboxFilter(std::string_view appId,
                                                        std::string_view userId);
[[nodiscard]] ZAVELO_EXPORT std::string mqttChannelFilter(std::string_view appId,
                                                          std::string_view channelId);
[[nodiscard]] ZAVELO_EXPORT std::string mqttPresenceFilter(std::string_view appId,
                                                           std::string_view channelId,
                                                           std::optional<unsigned> shard);

[[nodiscard]] ZAVELO_EXPORT std::string mqttFenceTopic(std::string_view appId,
                                                       std::string_view channelId,
                                                       std::string_view userId,
                                                       std::string_view session);

/// What a topic tells about the message in it.
struct MqttTopic {
  enum class Kind { claim, inbox, channelText, presence, fence };

  Kind kind = Kind::claim;
  std::string appId;
  std::string channelId{};  ///< of a channel's topics
  std::string userId{};  ///< whose claim, inbox, presence or fence; of a channel's text the sender
  std::string senderId{};  ///< of an inbox's text
  std::string session{};   ///< of a presence or fence
};

/// None when the engine writes no such topic.
[[nodiscard]] ZAVELO_EXPORT std::optional<MqttTopic> parsedMqttTopic(std::string_view topic);

}  // namespace zavelo

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo {

struct MqttEngineOptions {
  /// "mqtt://host:1883", or "mqtts://host:8883" through TLS. Without a port it is the usual one.
  /// Several brokers of one cluster: "mqtt://a,b:1884,c"; the next is tried when one is down.
  std::string address;
  /// A PEM file of the authorities whose brokers are trusted; empty: the system's.
  std::string caFile{};
  /// The broker's name for a user; its default is what the topics have for the user's id (see
  /// mqtt_topics.hpp), so that the broker can check who writes what.
  std::function<std::string(const std::string& userId)> userName{};
  /// What stands for a password, asked for at each connection; its default is the login's token.
  std::function<std::optional<std::string>(const std::string& userId)> token{};

  std::chrono::milliseconds loginTimeout{10'000};
  /// Of a join with all its attempts.
  std::chrono::milliseconds joinTimeout{10'000};
  std::chrono::milliseconds sendTimeout{10'000};
  /// How long one address of a host is tried when it has others.
  std::chrono::milliseconds addressTimeout{3'000};
  /// A connection on which nothing moves for twice as long is given up.
  std::chrono::seconds keepAlive{15};
  /// The same while the app is in the background, where each sign of life wakes the device. The
  /// broker, too, waits half as long again before it takes a silent user for gone.
  std::chrono::seconds backgroundKeepAlive{60};
  /// A lost connection is tried again after this time, then after twice as long, and so on.
  std::chrono::milliseconds firstRetry{200};
  std::chrono::milliseconds longestRetry{5'000};
  /// Who is missing when a lost connection is back is not told to have left before this time is
  /// over: the others may be about to come back too.
  std::chrono::milliseconds leftGrace{5'000};
  /// In a channel with more members than about this, only those of the own shard (a 64th) are told
  /// to come and go; the list of members is complete all the same.
  std::size_t memberEventsCap = 500;

  /// Longer texts, in bytes, are `rejected`; those of others are dropped.
  std::size_t maximumTextSize = 64 * 1024;
  /// So many texts may be sent to a channel in so much time; what is more is `rejected` at once.
  /// 0: any number.
  struct Pace {
    std::size_t texts = 0;
    std::chrono::milliseconds time{1'000};
  };
  Pace pace{};
  /// What a user leaves on the broker (a claim, presence) is forgotten after this time, and renewed
  /// before: who never returns is not listed for ever.
  std::chrono::seconds retainedExpiry{3'600};
};

/// A messaging engine over any MQTT 5 broker (OASIS Standard, 7 March 2019). The error is a
/// sentence for a person: an address that is none.
///
///     auto engine = mqttEngine({.address = "mqtt://127.0.0.1:1883"});
///     if (!engine) return complain(engine.error());
///     installMessagingEngine(*engine);
///
/// - A kit has one thread, which calls back; who holds it up for longer than the keep-alive loses
///   the connection. A kit has one connection for its login and one for each joined channel.
/// - A user who logs in anew takes the older login's place, which ends with state 5 and reason 8.
/// - A connection that breaks is made again; until then, sending fails. What others said meanwhile
///   is not heard. Channels come back after every break and with each new login of the same user,
///   until they are left or the user logs out; they are given up when the broker refuses them.
/// - A message is `success` when the broker has it; to a peer, only when the peer is there. A text
///   that failed may be sent again: it is not heard twice.
/// - What the broker refuses is `rejected`; a login that fails is held back the longer, the more
///   often it has failed.
/// - A user whom the broker knew and then refuses has an expired token: `tokenDidExpire`, and
///   `token` is asked again.
///
/// What is required of a broker, or of a cluster of brokers:
/// - MQTT 5 with quality of service 1, retained messages, wills, No Local and user properties.
/// - Texts reach the subscribers on every node, in the order of each sender. The order of topics
///   among each other does not matter, except that a list of members is complete at first only
///   where retained messages are delivered before later live ones; what comes later joins it.
/// - A retained message is visible on every node, and the wills of a node that died are published;
///   without that, users of a dead node are listed until `retainedExpiry`.
/// - Its answer to a publish says when nobody subscribes (0x10); without that, a text to an absent
///   peer is a `success`.
[[nodiscard]] ZAVELO_EXPORT Result<AgoraRtmKitFactory, std::string> mqttEngine(
    MqttEngineOptions options);

}  // namespace zavelo

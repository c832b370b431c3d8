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
  std::string address;
  /// A PEM file of the authorities whose brokers are trusted; empty: the system's.
  std::string caFile{};
  /// The broker's name for a user; its default is what the topics have for the user's id (see
  /// mqtt_topics.hpp), so that the broker can check who writes what.
  std::function<std::string(const std::string& userId)> userName{};
  /// What stands for a password, asked for at each connection; its default is the login's token.
  std::function<std::optional<std::string>(const std::string& userId)> token{};

  std::chrono::milliseconds loginTimeout{10'000};
  std::chrono::milliseconds joinTimeout{10'000};
  std::chrono::milliseconds sendTimeout{10'000};
  /// A connection on which nothing moves for twice as long is given up; at least 5 s.
  std::chrono::seconds keepAlive{15};
  /// A lost connection is tried again after this time, then after twice as long, and so on.
  std::chrono::milliseconds firstRetry{200};
  std::chrono::milliseconds longestRetry{5'000};
  /// Who is missing when a lost connection is back is not told to have left before this time is
  /// over: the others may be about to come back too.
  std::chrono::milliseconds leftGrace{5'000};
  /// In a channel with more members than about this, only those of the own shard (a 64th) are told
  /// to come and go; the list of members is complete all the same.
  std::size_t memberEventsCap = 500;
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
///   is not heard.
/// - A message is `success` when the broker has it; to a peer, only when the peer is there.
/// - What the broker refuses is `rejected`; a login that fails is held back the longer, the more
///   often it has failed.
[[nodiscard]] ZAVELO_EXPORT Result<AgoraRtmKitFactory, std::string> mqttEngine(
    MqttEngineOptions options);

}  // namespace zavelo

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zavelo::detail {

// The packets of MQTT 5 (OASIS Standard, 7 March 2019) that a client needs, as bytes.

enum class MqttPacketType : std::uint8_t {
  connect = 1,
  connectAnswer = 2,
  publish = 3,
  publishAnswer = 4,
  subscribe = 8,
  subscribeAnswer = 9,
  unsubscribe = 10,
  unsubscribeAnswer = 11,
  ping = 12,
  pingAnswer = 13,
  disconnect = 14,
};

struct MqttConnectRequest {
  std::string clientId{};
  std::string userName{};
  std::optional<std::string> password{};
  /// The broker publishes an empty retained message here when the connection breaks; empty: none.
  std::string willTopic{};
  std::chrono::seconds keepAlive{};
  std::uint32_t maximumPacketSize = 0;
};

/// A message, on its way out or in.
struct MqttMessage {
  std::string topic{};
  std::string payload{};
  bool retain = false;
  /// Tells a message from all others of its sender; travels as the user property "id".
  std::string id{};
  /// After this time the broker forgets it; none: never.
  std::optional<std::chrono::seconds> expiry{};
};

[[nodiscard]] std::string mqttConnectPacket(const MqttConnectRequest& request);
/// At least once (quality of service 1).
[[nodiscard]] std::string mqttPublishPacket(std::uint16_t id, const MqttMessage& message);
[[nodiscard]] std::string mqttPublishAnswerPacket(std::uint16_t id);
/// `options` as in section 3.8.3.1.
[[nodiscard]] std::string mqttSubscribePacket(std::uint16_t id, std::string_view filter,
                                              std::uint8_t options);
[[nodiscard]] std::string mqttUnsubscribePacket(std::uint16_t id, std::string_view filter);
[[nodiscard]] std::string mqttPingPacket();
[[nodiscard]] std::string mqttDisconnectPacket();

/// How much of the bytes is one packet.
struct MqttFrame {
  MqttPacketType type;
  std::uint8_t flags;
  std::size_t headerSize, bodySize;
};
enum class MqttFraming { complete, incomplete, invalid };
/// `frame` is set unless the header itself is incomplete or invalid; a packet may be incomplete
/// although its header is there.
MqttFraming mqttFrame(std::string_view bytes, std::optional<MqttFrame>& frame);

/// What a broker says in a packet; a field that the type of packet does not have is left as it is.
struct MqttPacket {
  MqttPacketType type{};
  std::uint16_t id = 0;
  int reason = 0;
  int qualityOfService = 0;
  MqttMessage message{};
  std::string reasonText{};
  std::uint16_t receiveMaximum = 65535;
  std::uint32_t maximumPacketSize = 0;  // 0: none
  std::optional<std::chrono::seconds> serverKeepAlive{};
};
/// None when the body is malformed. Of a publish packet the beginning of the body is enough to have
/// everything but the payload.
[[nodiscard]] std::optional<MqttPacket> parsedMqttPacket(const MqttFrame& frame,
                                                         std::string_view body);

}  // namespace zavelo::detail

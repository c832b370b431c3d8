#pragma once

#include <string>

#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"

namespace zavelo::detail {

// What a broker's reason codes mean (MQTT 5, section 2.4).

[[nodiscard]] inline MqttLoss::Kind mqttLossKind(int reason) {
  switch (reason) {
    case 0x8A:  // banned
    case 0x98:  // administrative action
      return MqttLoss::Kind::expelled;
    case 0x84:  // unsupported protocol version
    case 0x85:  // client identifier not valid
    case 0x86:  // bad user name or password
    case 0x87:  // not authorized
    case 0x8C:  // bad authentication method
      return MqttLoss::Kind::refused;
    default:
      return MqttLoss::Kind::broken;
  }
}

[[nodiscard]] inline const char* mqttReasonName(int reason) {
  switch (reason) {
    case 0x82:
      return "protocol error";
    case 0x84:
      return "it does not speak MQTT 5";
    case 0x85:
      return "client identifier not valid";
    case 0x86:
      return "bad user name or password";
    case 0x87:
      return "not authorized";
    case 0x88:
      return "unavailable";
    case 0x89:
      return "busy";
    case 0x8A:
      return "banned";
    case 0x8B:
      return "shutting down";
    case 0x8D:
      return "nothing came from here in time";
    case 0x93:
      return "too much at once";
    case 0x95:
      return "packet too large";
    case 0x97:
      return "quota exceeded";
    case 0x98:
      return "an administrator's action";
    default:
      return "reason ";
  }
}

[[nodiscard]] inline std::string mqttReasonWords(const MqttPacket& packet) {
  std::string words = mqttReasonName(packet.reason);
  if (words.ends_with(' ')) words += std::to_string(packet.reason);
  if (!packet.reasonText.empty()) words += " (" + packet.reasonText + ")";
  return (packet.type == MqttPacketType::connectAnswer ? "the broker refuses: "
                                                       : "the broker ended the connection: ") +
         words;
}

}  // namespace zavelo::detail

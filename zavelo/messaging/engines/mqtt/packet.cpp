#include <algorithm>

#include "zavelo/messaging/engines/mqtt/packet_internal.hpp"

namespace zavelo::detail {
namespace {

// Identifiers of properties (section 2.2.2.2).
constexpr std::uint8_t expiryProperty = 0x02;
constexpr std::uint8_t serverKeepAliveProperty = 0x13;
constexpr std::uint8_t reasonTextProperty = 0x1F;
constexpr std::uint8_t receiveMaximumProperty = 0x21;
constexpr std::uint8_t userProperty = 0x26;
constexpr std::uint8_t maximumPacketSizeProperty = 0x27;
constexpr std::string_view idKey = "id";

void putByte(std::string& out, std::size_t value) {
  out += static_cast<char>(value & 0xFF);
}
void putShort(std::string& out, std::size_t value) {
  putByte(out, value >> 8);
  putByte(out, value);
}
void putLong(std::string& out, std::size_t value) {
  putShort(out, value >> 16);
  putShort(out, value);
}
void putSize(std::string& out, std::size_t value) {
  for (; value > 127; value >>= 7) putByte(out, (value & 127) | 128);
  putByte(out, value);
}
void putText(std::string& out, std::string_view text) {
  putShort(out, text.size());
  out += text;
}

std::string packet(MqttPacketType type, unsigned flags, std::string_view body) {
  std::string out;
  out.reserve(body.size() + 5);
  putByte(out, static_cast<unsigned>(type) << 4 | flags);
  putSize(out, body.size());
  out += body;
  return out;
}

/// Takes values off the front; once something is missing everything is.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  std::string_view take(std::size_t size) {
    if (size > rest_.size()) isGood_ = false;
    const auto taken = rest_.substr(0, isGood_ ? size : 0);
    rest_.remove_prefix(isGood_ ? size : rest_.size());
    return taken;
  }
  std::size_t number(std::size_t size) {
    std::size_t value = 0;
    for (const char c : take(size)) value = value << 8 | static_cast<unsigned char>(c);
    return value;
  }
  std::size_t size() {
    std::size_t value = 0;
    for (unsigned shift = 0; shift < 28; shift += 7) {
      const auto byte = number(1);
      value |= (byte & 127) << shift;
      if (byte < 128) return value;
    }
    isGood_ = false;
    return 0;
  }
  std::string_view text() { return take(number(2)); }

  [[nodiscard]] std::string_view rest() const noexcept { return rest_; }
  [[nodiscard]] bool isEmpty() const noexcept { return rest_.empty(); }
  [[nodiscard]] bool isGood() const noexcept { return isGood_; }

 private:
  std::string_view rest_;
  bool isGood_ = true;
};

/// False for a property that there is not.
bool readProperty(Reader& reader, MqttPacket& packet) {
  switch (const auto property = reader.number(1)) {
    case expiryProperty:
      packet.message.expiry = std::chrono::seconds(reader.number(4));
      return true;
    case serverKeepAliveProperty:
      packet.serverKeepAlive = std::chrono::seconds(reader.number(2));
      return true;
    case reasonTextProperty:
      packet.reasonText = reader.text();
      return true;
    case receiveMaximumProperty:
      packet.receiveMaximum = static_cast<std::uint16_t>(reader.number(2));
      return true;
    case maximumPacketSizeProperty:
      packet.maximumPacketSize = static_cast<std::uint32_t>(reader.number(4));
      return true;
    case userProperty: {
      const auto key = reader.text();
      const auto value = reader.text();
      if (key == idKey) packet.message.id = value;
      return true;
    }
    case 0x01:
    case 0x17:
    case 0x19:
    case 0x24:
    case 0x25:
    case 0x28:
    case 0x29:
    case 0x2A:
      return reader.number(1), true;
    case 0x22:
    case 0x23:
      return reader.number(2), true;
    case 0x11:
    case 0x18:
      return reader.number(4), true;
    case 0x0B:
      return reader.size(), true;
    default:  // texts and binary data are alike
      constexpr std::string_view texts = "\x03\x08\x09\x12\x15\x16\x1A\x1C";
      if (texts.find(static_cast<char>(property)) == std::string_view::npos) return false;
      return reader.text(), true;
  }
}

bool readProperties(Reader& reader, MqttPacket& packet) {
  Reader properties(reader.take(reader.size()));
  while (!properties.isEmpty() && properties.isGood())
    if (!readProperty(properties, packet)) return false;
  return properties.isGood() && reader.isGood();
}

/// Reason and properties may be left out at the end of a packet; then the reason is 0.
bool readReason(Reader& reader, MqttPacket& packet) {
  if (reader.isEmpty()) return true;
  packet.reason = static_cast<int>(reader.number(1));
  return reader.isEmpty() || readProperties(reader, packet);
}

bool readPublish(std::uint8_t flags, Reader& reader, MqttPacket& packet) {
  packet.message.retain = (flags & 1U) != 0;
  packet.qualityOfService = flags >> 1 & 3;
  packet.message.topic = reader.text();
  if (packet.qualityOfService > 0) packet.id = static_cast<std::uint16_t>(reader.number(2));
  if (!reader.isGood() || packet.qualityOfService > 1) return false;  // none is subscribed with 2
  if (!readProperties(reader, packet)) return false;
  packet.message.payload = reader.rest();
  return true;
}

bool readAnswerToSubscribe(Reader& reader, MqttPacket& packet) {
  packet.id = static_cast<std::uint16_t>(reader.number(2));
  if (!readProperties(reader, packet)) return false;
  packet.reason = static_cast<int>(reader.number(1));
  return reader.isGood();
}

}  // namespace

std::string mqttConnectPacket(const MqttConnectRequest& request) {
  constexpr unsigned cleanStart = 0x02, will = 0x04, willQuality = 0x08, willRetain = 0x20;
  constexpr unsigned password = 0x40, userName = 0x80;
  const bool hasWill = !request.willTopic.empty();
  std::string body;
  putText(body, "MQTT");
  putByte(body, 5);
  putByte(body, cleanStart | userName | (hasWill ? will | willQuality | willRetain : 0) |
                    (request.password ? password : 0));
  putShort(body, static_cast<std::size_t>(request.keepAlive.count()));
  putSize(body, 5);
  putByte(body, maximumPacketSizeProperty);
  putLong(body, request.maximumPacketSize);
  putText(body, request.clientId);
  if (hasWill) {
    putSize(body, 0);  // no properties
    putText(body, request.willTopic);
    putText(body, "");
  }
  putText(body, request.userName);
  if (request.password) putText(body, *request.password);
  return packet(MqttPacketType::connect, 0, body);
}

std::string mqttPublishPacket(std::uint16_t id, const MqttMessage& message) {
  std::string properties;
  if (message.expiry) {
    putByte(properties, expiryProperty);
    putLong(properties, static_cast<std::size_t>(message.expiry->count()));
  }
  if (!message.id.empty()) {
    putByte(properties, userProperty);
    putText(properties, idKey);
    putText(properties, message.id);
  }
  std::string body;
  body.reserve(message.topic.size() + properties.size() + message.payload.size() + 8);
  putText(body, message.topic);
  putShort(body, id);
  putSize(body, properties.size());
  body += properties;
  body += message.payload;
  constexpr unsigned atLeastOnce = 2;
  return packet(MqttPacketType::publish, atLeastOnce | (message.retain ? 1U : 0U), body);
}

std::string mqttPublishAnswerPacket(std::uint16_t id) {
  std::string body;
  putShort(body, id);
  return packet(MqttPacketType::publishAnswer, 0, body);
}

std::string mqttSubscribePacket(std::uint16_t id, std::string_view filter, std::uint8_t options) {
  std::string body;
  putShort(body, id);
  putSize(body, 0);
  putText(body, filter);
  putByte(body, options);
  return packet(MqttPacketType::subscribe, 2, body);
}

std::string mqttUnsubscribePacket(std::uint16_t id, std::string_view filter) {
  std::string body;
  putShort(body, id);
  putSize(body, 0);
  putText(body, filter);
  return packet(MqttPacketType::unsubscribe, 2, body);
}

std::string mqttPingPacket() {
  return packet(MqttPacketType::ping, 0, {});
}

std::string mqttDisconnectPacket() {
  return packet(MqttPacketType::disconnect, 0, {});
}

MqttFraming mqttFrame(std::string_view bytes, std::optional<MqttFrame>& frame) {
  frame.reset();
  std::size_t bodySize = 0;
  for (std::size_t at = 1; at < bytes.size(); ++at) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    bodySize |= static_cast<std::size_t>(byte & 127U) << 7 * (at - 1);
    if (byte < 128) {
      const auto first = static_cast<unsigned char>(bytes[0]);
      frame = {static_cast<MqttPacketType>(first >> 4), static_cast<std::uint8_t>(first & 15U),
               at + 1, bodySize};
      return bytes.size() - at - 1 >= bodySize ? MqttFraming::complete : MqttFraming::incomplete;
    }
    if (at == 4) return MqttFraming::invalid;
  }
  return MqttFraming::incomplete;
}

std::optional<MqttPacket> parsedMqttPacket(const MqttFrame& frame, std::string_view body) {
  using enum MqttPacketType;
  MqttPacket packet{.type = frame.type};
  Reader reader(body);
  bool isGood = false;
  switch (frame.type) {
    case connectAnswer:
      reader.number(1);  // whether a session was kept: none was asked for
      isGood = !reader.isEmpty() && readReason(reader, packet);
      break;
    case publish:
      isGood = readPublish(frame.flags, reader, packet);
      break;
    case publishAnswer:
      packet.id = static_cast<std::uint16_t>(reader.number(2));
      isGood = readReason(reader, packet);
      break;
    case subscribeAnswer:
    case unsubscribeAnswer:
      isGood = readAnswerToSubscribe(reader, packet);
      break;
    case disconnect:
      isGood = readReason(reader, packet);
      break;
    case pingAnswer:
      isGood = true;
      break;
    default:  // what only clients send
      break;
  }
  if (!isGood || !reader.isGood()) return std::nullopt;
  return packet;
}

}  // namespace zavelo::detail

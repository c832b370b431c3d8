#include "tools/zavelo/chat/message_inspection.hpp"

#include <utility>

#include "tools/zavelo/chat/chat_line.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

std::optional<json::Value> soundJson(const std::string& text) {
  auto value = json::decode<json::Value>(text);
  if (!value) return std::nullopt;
  return std::move(value).value();
}

}  // namespace

Result<std::shared_ptr<ZVStreamMessage>, json::Error> eventIn(
    const std::shared_ptr<const ZVMessage>& envelope) {
  auto event = ZVMessageDecoder(envelope).decodeOrFault();
  if (event) return event;
  json::Error fault = std::move(event).error();
  fault.prepend("message");
  return Failure{std::move(fault)};
}

MessageInspection inspect(const std::string& text) {
  MessageInspection inspection{.kind = {}, .envelope = soundJson(text), .record = {}, .fault = {}};
  auto envelope = json::decode<std::shared_ptr<const ZVMessage>>(text);
  if (!envelope) {
    inspection.fault = envelope.error().text();
    return inspection;
  }
  inspection.kind = kindName((*envelope)->type);
  inspection.record = soundJson((*envelope)->message);
  if (const auto event = eventIn(*envelope); !event) inspection.fault = event.error().text();
  return inspection;
}

}  // namespace zavelo::command

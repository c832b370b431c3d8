#include "tools/zavelo/chat/chat_message.hpp"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"

namespace zavelo::command {
namespace {

/// Filled in by the factory.
bool isStamped(std::string_view field) {
  return field.starts_with("sender") || field == "messageType";
}

template <class... Records>
std::vector<Argument> argumentsOfAll() {
  std::vector<Argument> arguments;
  for (const json::Record& record : {std::cref(json::RecordOf<Records>::get())...})
    for (const auto& field : record.fields()) {
      if (isStamped(field.name) || std::ranges::count(arguments, field.name, &Argument::name) > 0)
        continue;
      arguments.push_back({field.name, argumentTypeOf(*field.codec)});
      arguments.back().type.isOptional = true;
    }
  return arguments;
}

/// The field at fault is the argument; what is behind it in the path goes to the reason.
ArgumentError argumentError(const json::Error& error) {
  const auto end = std::min(error.path.find_first_of(".["), error.path.size());
  const auto inside = error.path.substr(end);
  return {
      error.path.substr(0, end),
      (inside.empty() ? "" : inside.substr(inside.starts_with('.') ? 1 : 0) + ": ") + error.reason};
}

}  // namespace

const std::vector<Argument>& messageArguments() {
  static const auto arguments = argumentsOfAll<ZVStreamMessage, ZVGiftMessage, ZVStatisticMessage,
                                               ZVFloatingTextMessage, ZVPollMessage>();
  return arguments;
}

// The record goes through JSON, so that it gets the class that a receiver sees: the factory makes
// no poll.
Result<std::shared_ptr<ZVStreamMessage>, ArgumentError> chatMessage(
    ZVMessageType type, const json::Object& fields, const ZVCurrentUserSource& users) {
  const auto envelope =
      std::make_shared<ZVMessage>(*ZVStreamMessageFactory(type).createMessage("", 0, users));
  const ZVMessageDecoder decoder(envelope);
  const auto stamped = decoder.decode();
  const auto written = json::decode<json::Value>(envelope->message);
  json::Object object = *written->as<json::Object>();
  for (const auto& [key, value] : fields) {
    if (stamped->asRecord().record->find(key) == nullptr)
      return Failure{ArgumentError{
          key, "events of the kind " + std::string(caseName(type)) + " have no such field"}};
    object.set(key, value);
  }
  auto text = json::encode(json::Value(std::move(object)));
  if (!text) return Failure{argumentError(text.error())};
  envelope->message = std::move(text).value();
  auto record = decoder.decodeOrFault();
  if (!record) return Failure{argumentError(record.error())};
  return std::move(record).value();
}

}  // namespace zavelo::command

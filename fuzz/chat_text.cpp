#include "fuzz/fuzz.hpp"
#include "tools/zavelo/chat/message_inspection.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

// A messaging text: an envelope, and an event in it as JSON inside JSON.

void zavelo::fuzz::run(std::string_view input) {
  const std::string text(input);
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text);
  const auto event = envelope ? (*envelope)->getStreamMessage() : nullptr;
  require(command::inspect(text).fault.has_value() == (event == nullptr),
          "an inspection finds a fault when an app reads no event");
  if (!event) return;
  const ZVMessage sent(*event);
  const auto received = json::decode<std::shared_ptr<ZVMessage>>(sent.toJsonString().value());
  require(received && (*received)->type == sent.type && (*received)->message == sent.message,
          "an envelope arrives as it was sent");
  // A sender may give the envelope another kind than the event; such an event is a plain one.
  if (sent.type != (*envelope)->type) return;
  require((*received)->getStreamMessage()->toJsonString() == event->toJsonString(),
          "and so does its event");
}

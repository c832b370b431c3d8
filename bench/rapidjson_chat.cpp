#include "bench/chat_events.hpp"
#include "bench/rapidjson_fields.hpp"

namespace zavelo::bench {
namespace {

std::shared_ptr<ZVStreamMessage> decode(const std::string& envelope) {
  rapidjson::Document outer;
  rapid::parse(outer, envelope);
  const rapid::Value& message = outer["message"];
  rapidjson::Document inner;
  rapid::parse(inner, {message.GetString(), message.GetStringLength()});
  return withClassOf(outer["type"].GetInt64(), [&]<class T>(std::type_identity<T>) {
    std::shared_ptr<T> event;
    rapid::assign(inner, event);
    return std::shared_ptr<ZVStreamMessage>(std::move(event));
  });
}

template <class Event>
void writeAll(rapid::Writer& writer, const Event& event) {
  writer.StartObject();
  FieldsOf<Event>::forEach(event, [&](auto name, const auto& field) {
    rapid::writeKey(writer, name);
    field ? rapid::write(writer, *field) : void(writer.Null());
  });
  writer.EndObject();
}

std::string encode(const ZVStreamMessage& event) {
  rapidjson::StringBuffer message;
  rapid::Writer inner(message);
  withClassOf(event, [&](const auto& ofClass) { writeAll(inner, ofClass); });
  rapidjson::StringBuffer envelope;
  rapid::Writer outer(envelope);
  outer.StartObject();
  outer.Key("type");
  outer.Int64(*event.messageType);
  outer.Key("message");
  outer.String(message.GetString(), static_cast<unsigned>(message.GetSize()));
  outer.EndObject();
  return rapid::textOf(envelope);
}

RecordedEvents decodeRecorded(const std::string& file) {
  rapidjson::Document document;
  rapid::parse(document, file);
  return recordedEvents(
      document.GetArray(),
      [](const rapid::Value& event) { return event["messageType"].GetInt64(); },
      [](const rapid::Value& event, auto& pointer) { rapid::assign(event, pointer); });
}

}  // namespace

const ChatContender rapidjsonChat{"RapidJSON", &decode, &encode};
const RecordedContender rapidjsonRecorded{"RapidJSON DOM", &decodeRecorded};

}  // namespace zavelo::bench

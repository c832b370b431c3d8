#include "bench/chat_events.hpp"
#include "bench/nlohmann_fields.hpp"

namespace zavelo::bench {
namespace {

using nlo::json;

std::shared_ptr<ZVStreamMessage> decode(const std::string& envelope) {
  const json outer = json::parse(envelope);
  const json inner = json::parse(outer.at("message").get_ref<const std::string&>());
  return withClassOf(outer.at("type").get<std::int64_t>(), [&]<class T>(std::type_identity<T>) {
    std::shared_ptr<T> event;
    nlo::assign(inner, event);
    return std::shared_ptr<ZVStreamMessage>(std::move(event));
  });
}

template <class Event>
json allOf(const Event& event) {
  json object;
  FieldsOf<Event>::forEach(event, [&](auto name, const auto& field) {
    object[std::string(name)] = field ? nlo::written(*field) : json();
  });
  return object;
}

std::string encode(const ZVStreamMessage& event) {
  json envelope;
  envelope["type"] = *event.messageType;
  envelope["message"] =
      withClassOf(event, [](const auto& ofClass) { return allOf(ofClass); }).dump();
  return envelope.dump();
}

RecordedEvents decodeRecorded(const std::string& file) {
  return recordedEvents(
      json::parse(file),
      [](const json& event) { return event.at("messageType").get<std::int64_t>(); },
      [](const json& event, auto& pointer) { nlo::assign(event, pointer); });
}

}  // namespace

const ChatContender nlohmannChat{"nlohmann", &decode, &encode};
const RecordedContender nlohmannRecorded{"nlohmann", &decodeRecorded};

}  // namespace zavelo::bench

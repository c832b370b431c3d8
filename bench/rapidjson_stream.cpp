#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#pragma GCC diagnostic pop

#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

using rapidjson::Value;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void assign(const Value& value, std::optional<std::int64_t>& field) {
  field = value.GetInt64();
}
void assign(const Value& value, std::optional<bool>& field) {
  field = value.GetBool();
}
void assign(const Value& value, std::optional<std::string>& field) {
  field.emplace(value.GetString(), value.GetStringLength());
}

void assign(const Value& value, std::optional<ZVStreamServiceType>& field) {
  field = fromRawValue<ZVStreamServiceType>(value.GetInt64());
}
void assign(const Value& value, std::shared_ptr<ZVPublisher>& field);

template <class Field>
void read(const Value& object, std::string_view name, Field& field) {
  const Value key(rapidjson::StringRef(name.data(), static_cast<unsigned>(name.size())));
  const auto member = object.FindMember(key);
  if (member != object.MemberEnd() && !member->value.IsNull()) assign(member->value, field);
}

void assign(const Value& value, std::shared_ptr<ZVPublisher>& field) {
  field = std::make_shared<ZVPublisher>();
  PublisherFields::forEach(*field, [&](auto name, auto& inner) { read(value, name, inner); });
}

ZVUserStream decode(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  ZVUserStream page;
  page.result.emplace();
  for (const Value& element : document["result"].GetArray()) {
    auto stream = std::make_shared<ZVStream>();
    StreamFields::forEach(*stream, [&](auto name, auto& field) { read(element, name, field); });
    page.result->push_back(std::move(stream));
  }
  read(document, "nextId", page.nextId);
  read(document, "isEnd", page.isEnd);
  return page;
}

void write(Writer& writer, std::int64_t value) {
  writer.Int64(value);
}
void write(Writer& writer, bool value) {
  writer.Bool(value);
}
void write(Writer& writer, const std::string& value) {
  writer.String(value.data(), static_cast<unsigned>(value.size()));
}
void write(Writer& writer, ZVStreamServiceType value) {
  writer.Int64(rawValue(value));
}
void write(Writer& writer, const ZVPublisher& publisher);
template <class Field>
void write(Writer& writer, std::string_view name, const Field& field) {
  if (!field) return;
  writer.Key(name.data(), static_cast<unsigned>(name.size()));
  write(writer, *field);
}

void write(Writer& writer, const ZVPublisher& publisher) {
  writer.StartObject();
  PublisherFields::forEach(publisher,
                           [&](auto name, const auto& field) { write(writer, name, field); });
  writer.EndObject();
}

std::string encode(const ZVUserStream& page) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("result");
  writer.StartArray();
  for (const auto& stream : *page.result) {
    writer.StartObject();
    StreamFields::forEach(*stream,
                          [&](auto name, const auto& field) { write(writer, name, field); });
    writer.EndObject();
  }
  writer.EndArray();
  write(writer, "nextId", page.nextId);
  write(writer, "isEnd", page.isEnd);
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

const Contender rapidjsonContender{"RapidJSON", &decode, &encode};

}  // namespace zavelo::bench

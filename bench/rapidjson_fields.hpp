#pragma once

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#pragma GCC diagnostic pop

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bench/member_list.hpp"
#include "zavelo/base/coded_enum.hpp"

/// Fields of records by RapidJSON's document and writer.
namespace zavelo::bench::rapid {

using rapidjson::Value;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

inline void parse(rapidjson::Document& document, std::string_view text) {
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
}

inline void assign(const Value& value, std::int64_t& field) {
  field = value.GetInt64();
}
inline void assign(const Value& value, std::optional<std::int64_t>& field) {
  field = value.GetInt64();
}
inline void assign(const Value& value, std::optional<double>& field) {
  field = value.GetDouble();
}
inline void assign(const Value& value, std::optional<bool>& field) {
  field = value.GetBool();
}
inline void assign(const Value& value, std::optional<std::string>& field) {
  field.emplace(value.GetString(), value.GetStringLength());
}
template <CodedEnum E>
void assign(const Value& value, std::optional<E>& field) {
  field = fromRawValue<E>(value.GetInt64());
}
template <class Record>
void assign(const Value& value, std::shared_ptr<Record>& field);

template <class Field>
void read(const Value& object, std::string_view name, Field& field) {
  const Value key(rapidjson::StringRef(name.data(), static_cast<unsigned>(name.size())));
  const auto member = object.FindMember(key);
  if (member != object.MemberEnd() && !member->value.IsNull()) assign(member->value, field);
}

template <class Record>
void assign(const Value& value, std::shared_ptr<Record>& field) {
  field = std::make_shared<Record>();
  FieldsOf<Record>::forEach(*field, [&](auto name, auto& inner) { read(value, name, inner); });
}

inline void writeKey(Writer& writer, std::string_view name) {
  writer.Key(name.data(), static_cast<unsigned>(name.size()));
}
inline void write(Writer& writer, std::int64_t value) {
  writer.Int64(value);
}
inline void write(Writer& writer, double value) {
  writer.Double(value);
}
inline void write(Writer& writer, bool value) {
  writer.Bool(value);
}
inline void write(Writer& writer, const std::string& value) {
  writer.String(value.data(), static_cast<unsigned>(value.size()));
}
template <CodedEnum E>
void write(Writer& writer, E value) {
  writer.Int64(rawValue(value));
}
template <class Field>
void writePresent(Writer& writer, std::string_view name, const Field& field);

template <HasFields Record>
void write(Writer& writer, const Record& record) {
  writer.StartObject();
  FieldsOf<Record>::forEach(
      record, [&](auto name, const auto& field) { writePresent(writer, name, field); });
  writer.EndObject();
}

template <class Field>
void writePresent(Writer& writer, std::string_view name, const Field& field) {
  if (!field) return;
  writeKey(writer, name);
  write(writer, *field);
}

inline std::string textOf(const rapidjson::StringBuffer& buffer) {
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace zavelo::bench::rapid

#include <boost/json.hpp>

#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

namespace json = boost::json;

void assign(const json::value& value, std::optional<std::int64_t>& field) {
  field = value.as_int64();
}
void assign(const json::value& value, std::optional<bool>& field) {
  field = value.as_bool();
}
void assign(const json::value& value, std::optional<std::string>& field) {
  const json::string& text = value.as_string();
  field.emplace(text.data(), text.size());
}

void assign(const json::value& value, std::optional<ZVStreamServiceType>& field) {
  field = fromRawValue<ZVStreamServiceType>(value.as_int64());
}
void assign(const json::value& value, std::shared_ptr<ZVPublisher>& field);

template <class Field>
void read(const json::object& object, std::string_view name, Field& field) {
  const json::value* member = object.if_contains({name.data(), name.size()});
  if (member != nullptr && !member->is_null()) assign(*member, field);
}

void assign(const json::value& value, std::shared_ptr<ZVPublisher>& field) {
  field = std::make_shared<ZVPublisher>();
  FieldsOf<ZVPublisher>::forEach(
      *field, [&](auto name, auto& inner) { read(value.get_object(), name, inner); });
}

ZVUserStream decode(const std::string& text) {
  json::monotonic_resource memory;
  const json::value document = json::parse(text, &memory);
  ZVUserStream page;
  page.result.emplace();
  for (const json::value& element : document.at("result").as_array()) {
    auto stream = std::make_shared<ZVStream>();
    FieldsOf<ZVStream>::forEach(
        *stream, [&](auto name, auto& field) { read(element.get_object(), name, field); });
    page.result->push_back(std::move(stream));
  }
  read(document.get_object(), "nextId", page.nextId);
  read(document.get_object(), "isEnd", page.isEnd);
  return page;
}

template <class T>
void write(json::object& object, std::string_view name, const T& value) {
  object.emplace(json::string_view(name.data(), name.size()), value);
}
void write(json::object& object, std::string_view name, ZVStreamServiceType value) {
  write(object, name, rawValue(value));
}
void write(json::object& object, std::string_view name, const ZVPublisher& publisher) {
  auto& element =
      object.emplace(json::string_view(name.data(), name.size()), json::object(object.storage()))
          .first->value()
          .get_object();
  FieldsOf<ZVPublisher>::forEach(publisher, [&](auto inner, const auto& field) {
    if (field) write(element, inner, *field);
  });
}

std::string encode(const ZVUserStream& page) {
  json::monotonic_resource memory;
  json::object document(&memory);
  json::array& list = document.emplace("result", json::array(&memory)).first->value().as_array();
  for (const auto& stream : *page.result) {
    json::object& element = list.emplace_back(json::object(&memory)).get_object();
    FieldsOf<ZVStream>::forEach(*stream, [&](auto name, const auto& field) {
      if (field) write(element, name, *field);
    });
  }
  if (page.nextId) document.emplace("nextId", *page.nextId);
  if (page.isEnd) document.emplace("isEnd", *page.isEnd);
  return json::serialize(document);
}

}  // namespace

const Contender boostContender{"Boost.JSON", &decode, &encode};

}  // namespace zavelo::bench

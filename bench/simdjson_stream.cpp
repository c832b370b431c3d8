#include <simdjson.h>

#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

namespace ondemand = simdjson::ondemand;

void assign(ondemand::value value, std::optional<std::int64_t>& field) {
  field = value.get_int64().value();
}
void assign(ondemand::value value, std::optional<bool>& field) {
  field = value.get_bool().value();
}
void assign(ondemand::value value, std::optional<std::string>& field) {
  field.emplace(value.get_string().value());
}

void assign(ondemand::value value, std::optional<ZVStreamServiceType>& field) {
  field = fromRawValue<ZVStreamServiceType>(value.get_int64().value());
}
void assign(ondemand::value value, std::shared_ptr<ZVPublisher>& field);

template <class Field>
void read(ondemand::object& object, std::string_view name, Field& field) {
  ondemand::value value;
  if (object.find_field(name).get(value) != simdjson::SUCCESS) return;
  if (!value.is_null()) assign(value, field);
}

void assign(ondemand::value value, std::shared_ptr<ZVPublisher>& field) {
  field = std::make_shared<ZVPublisher>();
  ondemand::object object = value.get_object();
  FieldsOf<ZVPublisher>::forEach(*field,
                                 [&](auto name, auto& inner) { read(object, name, inner); });
}

// The fastest that one can write by hand: fields are asked for in the order in which they stand.
ZVUserStream decode(const std::string& text) {
  static ondemand::parser parser;
  ondemand::document document =
      parser.iterate(simdjson::padded_string_view(text.data(), text.size(), text.capacity()));
  ZVUserStream page;
  page.result.emplace();
  ondemand::object root = document.get_object();
  for (ondemand::object element : root.find_field("result").get_array()) {
    auto stream = std::make_shared<ZVStream>();
    FieldsOf<ZVStream>::forEach(*stream,
                                [&](auto name, auto& field) { read(element, name, field); });
    page.result->push_back(std::move(stream));
  }
  read(root, "nextId", page.nextId);
  read(root, "isEnd", page.isEnd);
  return page;
}

}  // namespace

const Contender simdjsonContender{"simdjson by hand", &decode, nullptr, true};

std::size_t simdjsonDomParse(const std::string& text) {
  static simdjson::dom::parser parser;
  const simdjson::dom::element document = parser.parse(text.data(), text.size(), false);
  return document.get_object().size();
}

}  // namespace zavelo::bench

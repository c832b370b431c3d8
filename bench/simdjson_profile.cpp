#include <simdjson.h>

#include "bench/profile_page.hpp"

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

template <class T>
void read(ondemand::object& object, std::string_view name, std::optional<T>& field) {
  ondemand::value value;
  if (object.find_field(name).get(value) != simdjson::SUCCESS) return;
  if (!value.is_null()) assign(value, field);
}

// The fastest that one can write by hand: fields are asked for in the order in which they stand.
ZVSearchUser decode(const std::string& text) {
  static ondemand::parser parser;
  ondemand::document document =
      parser.iterate(simdjson::padded_string_view(text.data(), text.size(), text.capacity()));
  ZVSearchUser page;
  page.result.emplace();
  ondemand::object root = document.get_object();
  for (ondemand::object element : root.find_field("result").get_array()) {
    auto profile = std::make_shared<ZVUserInfo>();
    ProfileFields::forEach(*profile, [&](auto name, auto& field) { read(element, name, field); });
    page.result->push_back(std::move(profile));
  }
  read(root, "nextId", page.nextId);
  read(root, "isEnd", page.isEnd);
  return page;
}

}  // namespace

const Contender simdjsonContender{"simdjson by hand", &decode, nullptr};

std::size_t simdjsonDomParse(const std::string& text) {
  static simdjson::dom::parser parser;
  const simdjson::dom::element document = parser.parse(text.data(), text.size(), false);
  return document.get_object().size();
}

}  // namespace zavelo::bench

#include <boost/json.hpp>

#include "bench/profile_page.hpp"

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

template <class T>
void read(const json::object& object, std::string_view name, std::optional<T>& field) {
  const json::value* member = object.if_contains({name.data(), name.size()});
  if (member != nullptr && !member->is_null()) assign(*member, field);
}

ZVSearchUser decode(const std::string& text) {
  json::monotonic_resource memory;
  const json::value document = json::parse(text, &memory);
  ZVSearchUser page;
  page.result.emplace();
  for (const json::value& element : document.at("result").as_array()) {
    auto profile = std::make_shared<ZVUserInfo>();
    ProfileFields::forEach(
        *profile, [&](auto name, auto& field) { read(element.get_object(), name, field); });
    page.result->push_back(std::move(profile));
  }
  read(document.get_object(), "nextId", page.nextId);
  read(document.get_object(), "isEnd", page.isEnd);
  return page;
}

std::string encode(const ZVSearchUser& page) {
  json::monotonic_resource memory;
  json::object document(&memory);
  json::array& list = document.emplace("result", json::array(&memory)).first->value().as_array();
  for (const auto& profile : *page.result) {
    json::object& element = list.emplace_back(json::object(&memory)).get_object();
    ProfileFields::forEach(*profile, [&](auto name, const auto& field) {
      if (field) element.emplace(json::string_view(name.data(), name.size()), *field);
    });
  }
  if (page.nextId) document.emplace("nextId", *page.nextId);
  if (page.isEnd) document.emplace("isEnd", *page.isEnd);
  return json::serialize(document);
}

}  // namespace

const Contender boostContender{"Boost.JSON", &decode, &encode};

}  // namespace zavelo::bench

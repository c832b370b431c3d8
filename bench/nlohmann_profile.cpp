#include <nlohmann/json.hpp>

#include "bench/profile_page.hpp"

namespace zavelo::bench {
namespace {

using nlohmann::json;

template <class T>
void read(const json& object, const char* name, std::optional<T>& field) {
  const auto member = object.find(name);
  if (member != object.end() && !member->is_null()) field = member->get<T>();
}

ZVSearchUser decode(const std::string& text) {
  const json document = json::parse(text);
  ZVSearchUser page;
  page.result.emplace();
  for (const json& element : document.at("result")) {
    auto profile = std::make_shared<ZVUserInfo>();
    ProfileFields::forEach(
        *profile, [&](auto name, auto& field) { read(element, std::string(name).c_str(), field); });
    page.result->push_back(std::move(profile));
  }
  read(document, "nextId", page.nextId);
  read(document, "isEnd", page.isEnd);
  return page;
}

std::string encode(const ZVSearchUser& page) {
  json document;
  json& list = document["result"] = json::array();
  for (const auto& profile : *page.result) {
    json element;
    ProfileFields::forEach(*profile, [&](auto name, const auto& field) {
      if (field) element[std::string(name)] = *field;
    });
    list.push_back(std::move(element));
  }
  if (page.nextId) document["nextId"] = *page.nextId;
  if (page.isEnd) document["isEnd"] = *page.isEnd;
  return document.dump();
}

}  // namespace

const Contender nlohmannContender{"nlohmann", &decode, &encode};

}  // namespace zavelo::bench

#include <nlohmann/json.hpp>

#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

using nlohmann::json;

template <class T>
void assign(const json& value, std::optional<T>& field) {
  field = value.get<T>();
}
void assign(const json& value, std::optional<ZVStreamServiceType>& field) {
  field = fromRawValue<ZVStreamServiceType>(value.get<std::int64_t>());
}
void assign(const json& value, std::shared_ptr<ZVPublisher>& field);

template <class Field>
void read(const json& object, const char* name, Field& field) {
  const auto member = object.find(name);
  if (member != object.end() && !member->is_null()) assign(*member, field);
}

void assign(const json& value, std::shared_ptr<ZVPublisher>& field) {
  field = std::make_shared<ZVPublisher>();
  PublisherFields::forEach(
      *field, [&](auto name, auto& inner) { read(value, std::string(name).c_str(), inner); });
}

ZVUserStream decode(const std::string& text) {
  const json document = json::parse(text);
  ZVUserStream page;
  page.result.emplace();
  for (const json& element : document.at("result")) {
    auto stream = std::make_shared<ZVStream>();
    StreamFields::forEach(
        *stream, [&](auto name, auto& field) { read(element, std::string(name).c_str(), field); });
    page.result->push_back(std::move(stream));
  }
  read(document, "nextId", page.nextId);
  read(document, "isEnd", page.isEnd);
  return page;
}

template <class T>
json written(const T& value) {
  return value;
}
json written(ZVStreamServiceType value) {
  return rawValue(value);
}
json written(const ZVPublisher& publisher) {
  json element;
  PublisherFields::forEach(publisher, [&](auto name, const auto& field) {
    if (field) element[std::string(name)] = *field;
  });
  return element;
}

std::string encode(const ZVUserStream& page) {
  json document;
  json& list = document["result"] = json::array();
  for (const auto& stream : *page.result) {
    json element;
    StreamFields::forEach(*stream, [&](auto name, const auto& field) {
      if (field) element[std::string(name)] = written(*field);
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

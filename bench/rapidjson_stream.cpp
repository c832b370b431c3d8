#include "bench/rapidjson_fields.hpp"
#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

ZVUserStream decode(const std::string& text) {
  rapidjson::Document document;
  rapid::parse(document, text);
  ZVUserStream page;
  page.result.emplace();
  for (const rapid::Value& element : document["result"].GetArray())
    rapid::assign(element, page.result->emplace_back());
  rapid::read(document, "nextId", page.nextId);
  rapid::read(document, "isEnd", page.isEnd);
  return page;
}

std::string encode(const ZVUserStream& page) {
  rapidjson::StringBuffer buffer;
  rapid::Writer writer(buffer);
  writer.StartObject();
  writer.Key("result");
  writer.StartArray();
  for (const auto& stream : *page.result) rapid::write(writer, *stream);
  writer.EndArray();
  rapid::writePresent(writer, "nextId", page.nextId);
  rapid::writePresent(writer, "isEnd", page.isEnd);
  writer.EndObject();
  return rapid::textOf(buffer);
}

}  // namespace

const Contender rapidjsonContender{"RapidJSON", &decode, &encode};

}  // namespace zavelo::bench

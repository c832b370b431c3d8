#include "bench/nlohmann_fields.hpp"
#include "bench/stream_page.hpp"

namespace zavelo::bench {
namespace {

using nlo::json;

ZVUserStream decode(const std::string& text) {
  const json document = json::parse(text);
  ZVUserStream page;
  page.result.emplace();
  for (const json& element : document.at("result"))
    nlo::assign(element, page.result->emplace_back());
  nlo::read(document, "nextId", page.nextId);
  nlo::read(document, "isEnd", page.isEnd);
  return page;
}

std::string encode(const ZVUserStream& page) {
  json document;
  json& list = document["result"] = json::array();
  for (const auto& stream : *page.result) list.push_back(nlo::written(*stream));
  if (page.nextId) document["nextId"] = *page.nextId;
  if (page.isEnd) document["isEnd"] = *page.isEnd;
  return document.dump();
}

}  // namespace

const Contender nlohmannContender{"nlohmann", &decode, &encode};

}  // namespace zavelo::bench

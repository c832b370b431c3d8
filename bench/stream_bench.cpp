#include <benchmark/benchmark.h>

#include <deque>
#include <stdexcept>

#include "bench/repeat.hpp"
#include "bench/stream_page.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::bench {
namespace {

ZVUserStream decodeOurs(const std::string& text) {
  return std::move(json::decode<ZVUserStream>(text)).value();
}
std::string encodeOurs(const ZVUserStream& page) {
  return std::move(json::encode(page)).value();
}

/// A page and its text, with room after it for readers that look ahead.
struct Page {
  Page(std::size_t streams, PageShape pageShape) : shape(pageShape) {
    const std::string exact = streamPageText(streams, shape);
    text.reserve(exact.size() + json::paddingBytes);
    text = exact;
    records = decodeOurs(text);
  }
  PageShape shape;
  std::string text;
  ZVUserStream records;
};

// A contender that reads or writes something else is not measured.
void check(const Contender& contender, const Page& page) {
  const std::string expected = encodeOurs(page.records);
  if (encodeOurs(contender.decode(page.text)) != expected)
    throw std::logic_error(std::string(contender.name) + " reads another page");
  if (contender.encode != nullptr &&
      encodeOurs(decodeOurs(contender.encode(page.records))) != expected)
    throw std::logic_error(std::string(contender.name) + " writes another page");
}

void countBytes(benchmark::State& state, const Page& page) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * page.text.size()));
}

void copyStructs(const ZVUserStream& page) {
  ZVUserStream copy;
  copy.result.emplace();
  for (const auto& stream : *page.result) {
    copy.result->push_back(std::make_shared<ZVStream>(*stream));
    if (stream->publisher)
      copy.result->back()->publisher = std::make_shared<ZVPublisher>(*stream->publisher);
  }
  benchmark::DoNotOptimize(copy);
}

template <class Work>
void measure(const std::string& name, const Page& page, Work work) {
  benchmark::RegisterBenchmark(name.c_str(), [name, work, &page](benchmark::State& state) {
    repeat(state, name, work);
    countBytes(state, page);
  });
}

// What any reader of a DOM pays: the parse alone and the structs alone.
void registerFloor(const std::string& what, const Page& page) {
  measure("decode " + what + "floor: DOM parse and copy of structs", page, [&page] {
    benchmark::DoNotOptimize(simdjsonDomParse(page.text));
    copyStructs(page.records);
  });
}

std::string nameOf(const Page& page) {
  const char* shapes[] = {"", ", half absent", ", reordered", ", unknown keys"};
  return std::to_string(page.records.result->size()) + " streams" +
         shapes[static_cast<std::size_t>(page.shape)] + "/";
}

void compare(const Page& page) {
  const Contender ours{"ZaveloCore", &decodeOurs, &encodeOurs};
  const Contender* all[] = {&ours, &rapidjsonContender, &boostContender, &nlohmannContender,
                            &simdjsonContender};
  const std::string what = nameOf(page);
  for (const Contender* contender : all) {
    const bool isDeclared = page.shape == PageShape::declared;
    if (contender->needsDeclaredOrder && !isDeclared) continue;
    check(*contender, page);
    measure("decode " + what + contender->name, page,
            [decode = contender->decode, &page] { benchmark::DoNotOptimize(decode(page.text)); });
    if (contender->encode == nullptr || !isDeclared) continue;
    measure("encode " + what + contender->name, page, [encode = contender->encode, &page] {
      benchmark::DoNotOptimize(encode(page.records));
    });
  }
  registerFloor(what, page);
}

const bool registered = [] {
  static std::deque<Page> pages;
  for (const std::size_t streams : {20u, 200u})
    for (const auto shape :
         {PageShape::declared, PageShape::absent, PageShape::reordered, PageShape::unknown})
      compare(pages.emplace_back(streams, shape));
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

#include <benchmark/benchmark.h>

#include <stdexcept>

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

/// A page and its text, with room behind it for readers that look ahead.
struct Page {
  explicit Page(std::size_t streams) : records(streamPage(streams)) {
    const std::string exact = streamPageText(streams);
    text.reserve(exact.size() + json::paddingBytes);
    text = exact;
  }
  ZVUserStream records;
  std::string text;
};

// A contender that reads or writes something else is not measured.
void check(const Contender& contender, const Page& page) {
  if (encodeOurs(contender.decode(page.text)) != page.text)
    throw std::logic_error(std::string(contender.name) + " reads another page");
  if (contender.encode != nullptr &&
      encodeOurs(decodeOurs(contender.encode(page.records))) != page.text)
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
    copy.result->back()->publisher = std::make_shared<ZVPublisher>(*stream->publisher);
  }
  benchmark::DoNotOptimize(copy);
}

template <class Work>
void measure(const std::string& name, const Page& page, Work work) {
  benchmark::RegisterBenchmark(name.c_str(), [work, &page](benchmark::State& state) {
    for (auto _ : state) work();
    countBytes(state, page);
  });
}

void compare(const Page& page) {
  const Contender ours{"ZaveloCore", &decodeOurs, &encodeOurs};
  const Contender* all[] = {&ours, &simdjsonContender, &rapidjsonContender, &boostContender,
                            &nlohmannContender};
  const std::string what = std::to_string(page.records.result->size()) + " streams/";
  for (const Contender* contender : all) {
    check(*contender, page);
    measure("decode " + what + contender->name, page,
            [decode = contender->decode, &page] { benchmark::DoNotOptimize(decode(page.text)); });
    if (contender->encode == nullptr) continue;
    measure("encode " + what + contender->name, page, [encode = contender->encode, &page] {
      benchmark::DoNotOptimize(encode(page.records));
    });
  }
  measure("decode " + what + "simdjson DOM parse alone", page,
          [&page] { benchmark::DoNotOptimize(simdjsonDomParse(page.text)); });
  measure("decode " + what + "copying the structs alone", page,
          [&page] { copyStructs(page.records); });
}

const bool registered = [] {
  static const Page screenful(20);
  static const Page many(1000);
  compare(screenful);
  compare(many);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

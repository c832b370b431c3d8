#include <benchmark/benchmark.h>

#include <stdexcept>

#include "bench/profile_page.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::bench {
namespace {

constexpr std::size_t profiles = 1000;

ZVSearchUser decodeOurs(const std::string& text) {
  return std::move(json::decode<ZVSearchUser>(text)).value();
}
std::string encodeOurs(const ZVSearchUser& page) {
  return std::move(json::encode(page)).value();
}

const std::string& pageText() {
  static const std::string text = [] {
    std::string padded = profilePageText(profiles);
    padded.reserve(padded.size() + json::paddingBytes);
    return padded;
  }();
  return text;
}
const ZVSearchUser& page() {
  static const ZVSearchUser once = profilePage(profiles);
  return once;
}

// A contender that reads or writes something else is not measured.
void check(const Contender& contender) {
  if (encodeOurs(contender.decode(pageText())) != pageText())
    throw std::logic_error(std::string(contender.name) + " reads another page");
  if (contender.encode != nullptr && encodeOurs(decodeOurs(contender.encode(page()))) != pageText())
    throw std::logic_error(std::string(contender.name) + " writes another page");
}

void decodePage(benchmark::State& state, ZVSearchUser (*decode)(const std::string&)) {
  for (auto _ : state) benchmark::DoNotOptimize(decode(pageText()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * pageText().size()));
}

void encodePage(benchmark::State& state, std::string (*encode)(const ZVSearchUser&)) {
  for (auto _ : state) benchmark::DoNotOptimize(encode(page()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * pageText().size()));
}

void copyStructs(benchmark::State& state) {
  for (auto _ : state) {
    ZVSearchUser copy;
    copy.result.emplace();
    for (const auto& profile : *page().result)
      copy.result->push_back(std::make_shared<ZVUserInfo>(*profile));
    benchmark::DoNotOptimize(copy);
  }
}

void domParse(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(simdjsonDomParse(pageText()));
}

const bool registered = [] {
  const Contender ours{"ZaveloCore", &decodeOurs, &encodeOurs};
  const Contender* all[] = {&ours, &simdjsonContender, &rapidjsonContender, &boostContender,
                            &nlohmannContender};
  for (const Contender* contender : all) {
    check(*contender);
    const std::string name = contender->name;
    benchmark::RegisterBenchmark(("decode 1000 profiles/" + name).c_str(), decodePage,
                                 contender->decode);
    if (contender->encode != nullptr)
      benchmark::RegisterBenchmark(("encode 1000 profiles/" + name).c_str(), encodePage,
                                   contender->encode);
  }
  benchmark::RegisterBenchmark("decode 1000 profiles/simdjson DOM parse alone", domParse);
  benchmark::RegisterBenchmark("decode 1000 profiles/copying the structs alone", copyStructs);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

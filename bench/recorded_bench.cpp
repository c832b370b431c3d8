#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <optional>

#include "bench/chat_events.hpp"
#include "bench/peak_memory.hpp"
#include "support/generated_chat.hpp"
#include "zavelo/messaging/chat_replay.hpp"
#include "zavelo/messaging/recorded_chat.hpp"

// A saved chat of 75 MB that is in memory already. The memory is what a contender takes beyond the
// text: its own, and that of the events that all of them make.

namespace zavelo::bench {
namespace {

constexpr std::size_t eventCount = 200'000;

const ZVRecordedMessageDecoder& savedChat() {
  static const ZVRecordedMessageDecoder chat(test::generatedChatFile(eventCount));
  return chat;
}

RecordedEvents decodeOurs(const std::string&) {
  return savedChat().decode();
}

bool isSame(const RecordedEvents& some, const RecordedEvents& others) {
  return std::equal(some.begin(), some.end(), others.begin(), others.end(),
                    [](const auto& one, const auto& other) {
                      return one->toJsonString() == other->toJsonString();
                    });
}

/// What needs to be found out once, and not in every repetition.
struct Findings {
  bool sound;
  double memory;  // as a multiple of the text
};
const Findings& findingsOn(const RecordedContender& contender) {
  static std::map<std::string, Findings> known;
  const auto found = known.find(contender.name);
  if (found != known.end()) return found->second;
  const std::string& text = savedChat().data;
  const std::size_t bytes =
      extraPeakMemory([&] { benchmark::DoNotOptimize(contender.decode(text)); });
  return known[contender.name] = {isSame(contender.decode(text), decodeOurs(text)),
                                  static_cast<double>(bytes) / static_cast<double>(text.size())};
}

void decode(benchmark::State& state, const RecordedContender& contender) {
  const Findings& findings = findingsOn(contender);
  if (!findings.sound) return state.SkipWithError("it reads another chat");
  const std::string& text = savedChat().data;
  for (auto _ : state) benchmark::DoNotOptimize(contender.decode(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.counters["extra peak memory/file"] = findings.memory;
}

/// A contender brings decoded events into the order of time; that they end later is not measured.
template <class Order>
void order(benchmark::State& state, const Order& ordered) {
  auto events = decodeOurs({});
  std::optional<decltype(ordered(std::move(events)))> result;
  for (auto _ : state) result.emplace(ordered(std::move(events)));
}

RecordedEvents sorted(RecordedEvents events) {
  std::ranges::stable_sort(events, {}, [](const auto& event) { return event->recordedTime; });
  return events;
}

const bool registered = [] {
  static const RecordedContender ours{"ZaveloCore", &decodeOurs};
  for (const RecordedContender* contender :
       {&ours, &nlohmannRecorded, &rapidjsonRecorded, &rapidjsonSaxRecorded})
    benchmark::RegisterBenchmark(
        (std::string("decode 200000 recorded events/") + contender->name).c_str(),
        [contender](benchmark::State& state) { decode(state, *contender); })
        ->Iterations(1)
        ->Repetitions(5);
  benchmark::RegisterBenchmark(
      "replay of 200000 events/ZaveloCore",
      [](benchmark::State& state) {
        order(state, [](RecordedEvents events) { return ZVChatReplay(std::move(events)); });
      })
      ->Iterations(1)
      ->Repetitions(9);
  benchmark::RegisterBenchmark("replay of 200000 events/std::stable_sort",
                               [](auto& state) { order(state, sorted); })
      ->Iterations(1)
      ->Repetitions(9);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

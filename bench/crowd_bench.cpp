#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

#include "bench/peak_memory.hpp"
#include "support/generated_chat.hpp"
#include "zavelo/messaging/chat_batcher.hpp"
#include "zavelo/platform/main_queue.hpp"

// A crowd that writes 5,000 lines a second, and a screen that needs 500 us for each that it shows.

namespace zavelo::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Event = std::shared_ptr<const ZVStreamMessage>;
using Feed = std::function<void(Event)>;

constexpr auto duration = 5s;
constexpr auto pause = 200us;

struct Screen {
  void show(const ZVStreamMessage& event) {
    const auto begin = Clock::now();
    const auto age = begin.time_since_epoch() - std::chrono::nanoseconds(*event.recordedTime);
    oldest = std::max(oldest, age);
    ++lines;
    while (Clock::now() - begin < 500us) std::this_thread::sleep_for(100us);
  }
  std::chrono::nanoseconds oldest{0};
  int lines = 0;
};

/// Until all has been fed; what the screen has not shown by then stays unshown.
void run(MainQueue& queue, const Feed& feed) {
  std::jthread crowd([&] {
    test::GeneratedChat chat;
    const auto begin = Clock::now();
    for (auto at = begin; at - begin < duration; at += pause) {
      std::this_thread::sleep_until(at);
      const auto event = chat.next(ZVMessageType::message);
      event->recordedTime = Clock::now().time_since_epoch() / 1ns;
      feed(event);
    }
    queue.stop();
  });
  queue.run();
}

void runByBatch(Screen& screen) {
  const auto queue = std::make_shared<MainQueue>();
  ZVChatBatcher batcher(
      [&screen](const ZVChatBatch& batch) {
        for (const auto& item : batch.items) screen.show(*item.event);
      },
      {queue, nullptr});
  run(*queue, [&](Event event) { batcher.add(std::move(event)); });
}

void runOneByOne(Screen& screen) {
  const auto queue = std::make_shared<MainQueue>();
  run(*queue, [&](const Event& event) { queue->post([&screen, event] { screen.show(*event); }); });
}

void measure(benchmark::State& state, void (*work)(Screen&)) {
  Screen screen;
  for (auto _ : state) work(screen);
  const auto bytes = extraPeakMemory([&] {
    Screen another;
    work(another);
  });
  state.counters["extra peak KiB"] = static_cast<double>(bytes / 1024);
  state.counters["lines shown"] = screen.lines;
  state.counters["oldest shown ms"] = static_cast<double>(screen.oldest / 1ms);
}

const bool registered = [] {
  for (const auto& [name, work] :
       {std::pair("ZaveloCore", &runByBatch), std::pair("a closure an event", &runOneByOne)})
    benchmark::RegisterBenchmark((std::string("slow screen/") + name).c_str(),
                                 [work = work](benchmark::State& state) { measure(state, work); })
        ->Iterations(1)
        ->Repetitions(1);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

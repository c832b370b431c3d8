#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "bench/engine_room.hpp"
#include "sandbox/broker/broker_process.hpp"
#include "support/generated_chat.hpp"
#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/messaging/message.hpp"

// Chat in a channel, through the engines and with nothing but libmosquitto over the same broker.
// The CPU time is that of all who speak and listen, a message; the broker has a process of its own.

namespace zavelo::bench {
namespace {

using MakeRoom = std::function<std::unique_ptr<Room>(std::size_t receivers, Tally& tally)>;

std::uint16_t brokerPort() {
  static const auto broker = [] {
    auto started = sandbox::BrokerProcess::start({});
    if (!started) throw std::runtime_error(started.error());
    return std::move(started).value();
  }();
  return broker->port();
}

std::unique_ptr<Room> inProcessRoom(std::size_t receivers, Tally& tally) {
  return kitRoom(InProcessHub::create()->kitFactory(), receivers, tally);
}
std::unique_ptr<Room> mqttRoom(std::size_t receivers, Tally& tally) {
  const auto engine = mqttEngine({.address = "mqtt://127.0.0.1:" + std::to_string(brokerPort())});
  return kitRoom(engine.value(), receivers, tally);
}
std::unique_ptr<Room> bareRoom(std::size_t receivers, Tally& tally) {
  return mosquittoRoom(brokerPort(), receivers, tally);
}

/// How long single messages take until they are heard.
void measureLatency(benchmark::State& state, Room& room, Tally& tally, std::size_t receivers,
                    const std::string& text) {
  std::vector<double> microseconds;
  for (int i = 0; i < 200; ++i) {
    tally.expect(receivers, 1);
    room.send(text);
    if (!tally.wait()) return state.SkipWithError("a message was lost");
    for (const auto delay : tally.delays())
      microseconds.push_back(std::chrono::duration<double, std::micro>(delay).count());
  }
  std::sort(microseconds.begin(), microseconds.end());
  state.counters["p50 us"] = microseconds[microseconds.size() / 2];
  state.counters["p99 us"] = microseconds[microseconds.size() * 99 / 100];
}

void chat(benchmark::State& state, const MakeRoom& makeRoom, std::size_t receivers) {
  constexpr std::int64_t burst = 100;
  const std::string text = ZVMessage(*test::GeneratedChat().next()).toJsonString().value();
  Tally tally;
  const auto room = makeRoom(receivers, tally);
  const auto began = Tally::Clock::now();
  while (state.KeepRunningBatch(burst)) {
    tally.expect(burst * receivers, burst);
    for (std::int64_t i = 0; i < burst; ++i) room->send(text);
    if (!tally.wait()) return state.SkipWithError("a message was lost");
  }
  const std::chrono::duration<double> took = Tally::Clock::now() - began;
  state.counters["messages/s"] = static_cast<double>(state.iterations()) / took.count();
  measureLatency(state, *room, tally, receivers, text);
}

const bool registered = [] {
  const std::pair<const char*, MakeRoom> ways[] = {
      {" listeners, in process/ZaveloCore", &inProcessRoom},
      {" listeners, over a broker/ZaveloCore", &mqttRoom},
      {" listeners, over a broker/bare libmosquitto", &bareRoom}};
  for (const std::size_t receivers : {1u, 10u, 100u})
    for (const auto& [way, makeRoom] : ways)
      benchmark::RegisterBenchmark(("a message to " + std::to_string(receivers) + way).c_str(),
                                   [makeRoom = makeRoom, receivers](benchmark::State& state) {
                                     chat(state, makeRoom, receivers);
                                   })
          ->MeasureProcessCPUTime()
          ->Repetitions(3);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

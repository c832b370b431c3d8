#include <benchmark/benchmark.h>
#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>

#include "sandbox/broker/broker_process.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

// A channel of 10,000 members: how long it takes to come in, and to list them all. A member is what
// the broker keeps of one, an entry in the list of presences.

namespace zavelo::bench {
namespace {

constexpr int members = 10'000;

struct Silent final : AgoraRtmDelegate, AgoraRtmChannelDelegate {
  void connectionStateChanged(std::int64_t, std::int64_t) override {}
  void peerMessageReceived(const std::string&, const std::string&) override {}
  void tokenDidExpire() override {}
  void memberJoined(const std::string&, const std::string&) override {}
  void memberLeft(const std::string&, const std::string&) override {}
  void channelMessageReceived(const std::string&, const std::string&, const std::string&) override {
  }
};

/// Writes the entries of all members, and returns when the broker has them.
void fill(std::uint16_t port) {
  mosquitto_lib_init();
  int left = members;
  const std::unique_ptr<mosquitto, decltype(&mosquitto_destroy)> writer(
      mosquitto_new(nullptr, true, &left), mosquitto_destroy);
  mosquitto_int_option(writer.get(), MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_username_pw_set(writer.get(), "bench", nullptr);
  mosquitto_publish_callback_set(writer.get(),
                                 [](mosquitto*, void* count, int) { --*static_cast<int*>(count); });
  if (mosquitto_connect(writer.get(), "127.0.0.1", port, 60) != MOSQ_ERR_SUCCESS)
    throw std::runtime_error("the broker cannot be reached");
  for (int i = 0; i < members; ++i) {
    const auto topic = mqttPresenceTopic("app", "c", "user" + std::to_string(i), "s");
    mosquitto_publish(writer.get(), nullptr, topic.c_str(), 1, "1", 1, true);
    mosquitto_loop(writer.get(), 0, 1);
  }
  while (left > 0 && mosquitto_loop(writer.get(), 100, 1) == MOSQ_ERR_SUCCESS) {
  }
}

std::uint16_t filledBroker() {
  static const auto broker = [] {
    auto started = sandbox::BrokerProcess::start({.master = "bench"});
    if (!started) throw std::runtime_error(started.error());
    fill((*started)->port());
    return std::move(started).value();
  }();
  return broker->port();
}

template <class Answer, class Start>
Answer waitFor(Start start) {
  std::promise<Answer> answer;
  start([&](Answer value) { answer.set_value(std::move(value)); });
  return answer.get_future().get();
}

/// Somebody who has logged in.
struct Visitor {
  Visitor() {
    const auto address = "mqtt://127.0.0.1:" + std::to_string(filledBroker());
    kit = mqttEngine({.address = address}).value()("app", ears);
    waitFor<std::int64_t>([&](auto done) { kit->login({}, "visitor", done); });
    channel = kit->createChannel("c", ears);
  }

  std::shared_ptr<Silent> ears = std::make_shared<Silent>();
  std::shared_ptr<AgoraRtmKit> kit;
  std::shared_ptr<AgoraRtmChannel> channel;
};

/// How long a person waits, on average; the time of the benchmark is that of the processor.
class Wait {
 public:
  template <class Work>
  auto during(Work work) {
    const auto began = Clock::now();
    auto result = work();
    total_ += Clock::now() - began;
    ++count_;
    return result;
  }
  void report(benchmark::State& state) const {
    state.counters["real ms"] = total_.count() / count_;
  }

 private:
  using Clock = std::chrono::steady_clock;
  std::chrono::duration<double, std::milli> total_{0};
  int count_ = 0;
};

void join(benchmark::State& state) {
  const Visitor visitor;
  Wait wait;
  for (auto _ : state) {
    const auto code = wait.during(
        [&] { return waitFor<std::int64_t>([&](auto done) { visitor.channel->join(done); }); });
    state.PauseTiming();
    if (code != rtmCode::success) return state.SkipWithError("the join failed");
    waitFor<std::int64_t>([&](auto done) { visitor.channel->leave(done); });
    state.ResumeTiming();
  }
  wait.report(state);
}

void list(benchmark::State& state) {
  const Visitor visitor;
  waitFor<std::int64_t>([&](auto done) { visitor.channel->join(done); });
  Wait wait;
  for (auto _ : state) {
    const auto ids = wait.during([&] {
      return waitFor<std::optional<std::vector<std::string>>>(
          [&](auto done) { visitor.channel->getMembers(done); });
    });
    if (!ids || ids->size() != members + 1) return state.SkipWithError("the list is not whole");
  }
  wait.report(state);
}

BENCHMARK(join)->Name("join a channel of 10000/ZaveloCore")->MeasureProcessCPUTime();
BENCHMARK(list)->Name("list a channel of 10000/ZaveloCore")->MeasureProcessCPUTime();

}  // namespace
}  // namespace zavelo::bench

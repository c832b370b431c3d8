// What viewers of one channel cost, on one broker and on three: `zavelo_scaling KIND VIEWERS...`,
// KIND being single, bridge or ejabberd. Prints a row of docs/scaling.md for each number of
// viewers, once with presence and once without.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "sandbox/broker/broker_process.hpp"
#include "support/cluster.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"

namespace zavelo::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

void waitUntil(const char* what, const std::function<bool()>& holds) {
  const auto begin = Clock::now();
  while (!holds()) {
    if (secondsSince(begin) > 120) throw std::runtime_error(std::string(what) + " does not end");
    std::this_thread::sleep_for(1ms);
  }
}

/// Resident, of a process.
double kilobytesOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  double pages = 0, resident = 0;
  file >> pages >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// One broker or three, as their processes and addresses.
struct Brokers {
  explicit Brokers(const std::string& kind) {
    if (kind != "single") {
      cluster = std::make_unique<test::Cluster>(kind);
      for (int node = 1; node <= test::Cluster::nodeCount; ++node) {
        addresses.push_back(cluster->addressOf(node));
        processes.push_back(cluster->processOf(node));
      }
      return;
    }
    auto started = sandbox::BrokerProcess::start({});
    if (!started) throw std::runtime_error(started.error());
    broker = std::move(started).value();
    addresses.push_back("mqtt://127.0.0.1:" + std::to_string(broker->port()));
    processes.push_back(broker->process());
  }
  [[nodiscard]] double kilobytes() const {
    double sum = 0;
    for (const auto process : processes) sum += kilobytesOf(process);
    return sum;
  }

  std::unique_ptr<test::Cluster> cluster;
  std::unique_ptr<sandbox::BrokerProcess> broker;
  std::vector<std::string> addresses;
  std::vector<pid_t> processes;
};

struct Counts {
  std::atomic<std::size_t> answered = 0, failed = 0, texts = 0, memberEvents = 0;
};

class Viewer final : public AgoraRtmDelegate, public AgoraRtmChannelDelegate {
 public:
  explicit Viewer(Counts& counts) : counts_(counts) {}
  void connectionStateChanged(std::int64_t, std::int64_t) override {}
  void peerMessageReceived(const std::string&, const std::string&) override {}
  void tokenDidExpire() override {}
  void memberJoined(const std::string&, const std::string&) override { ++counts_.memberEvents; }
  void memberLeft(const std::string&, const std::string&) override { ++counts_.memberEvents; }
  void channelMessageReceived(const std::string&, const std::string&, const std::string&) override {
    ++counts_.texts;
  }

 private:
  Counts& counts_;
};

class Channel {
 public:
  Channel(const Brokers& brokers, std::size_t viewers, bool presence)
      : viewers_(viewers), presence_(presence) {
    for (std::size_t i = 0; i < viewers; ++i) {
      MqttEngineOptions options{.address = brokers.addresses[i % brokers.addresses.size()]};
      options.token = [](const std::string&) { return "any"; };
      const auto viewer = std::make_shared<Viewer>(counts_);
      people_.push_back({viewer, mqttEngine(options).value()("app", viewer)});
    }
  }

  void login() {
    forAll("the logins", [](AgoraRtmKit& kit, std::size_t i, const auto& done) {
      kit.login({}, "viewer" + std::to_string(i), done);
    });
  }
  double join() {
    const auto begin = Clock::now();
    forAll("the joins", [this](AgoraRtmKit& kit, std::size_t i, const auto& done) {
      kit.createChannel("c", people_[i].viewer)->joinWithOptions({presence_}, done);
    });
    return secondsSince(begin);
  }
  void logout() {
    forAll("the logouts",
           [](AgoraRtmKit& kit, std::size_t, const auto& done) { kit.logout(done); });
  }
  /// Until all of so many texts have reached everyone, said one by one or all at once.
  double say(std::size_t count) {
    counts_.texts = 0;
    const auto begin = Clock::now();
    const auto channel = people_.front().kit->channels()->at("c");
    for (std::size_t i = 0; i < count; ++i)
      channel->send("a line of chat as people write it", [](auto) {});
    waitUntil("a text's way", [&] { return counts_.texts >= count * (viewers_ - 1); });
    return secondsSince(begin);
  }
  [[nodiscard]] const Counts& counts() const { return counts_; }

 private:
  struct Person {
    std::shared_ptr<Viewer> viewer;
    std::shared_ptr<AgoraRtmKit> kit;
  };

  template <class Work>
  void forAll(const char* what, Work work) {
    counts_.answered = 0;
    const auto done = [this](std::int64_t code) {
      if (code != rtmCode::success) ++counts_.failed;
      ++counts_.answered;
    };
    for (std::size_t i = 0; i < people_.size(); ++i) work(*people_[i].kit, i, done);
    waitUntil(what, [&] { return counts_.answered == people_.size(); });
  }

  const std::size_t viewers_;
  const bool presence_;
  Counts counts_;
  std::deque<Person> people_;  // last: their threads count
};

void measure(const std::string& kind, std::size_t viewers, bool presence) {
  const Brokers brokers(kind);
  const auto ownBefore = kilobytesOf(getpid()), theirsBefore = brokers.kilobytes();
  Channel channel(brokers, viewers, presence);
  channel.login();
  const auto joined = channel.join();
  std::this_thread::sleep_for(10s);  // presence follows
  const auto memberEvents = channel.counts().memberEvents.load();
  std::vector<double> single;
  for (int i = 0; i < 9; ++i) single.push_back(channel.say(1));
  std::ranges::sort(single);
  constexpr std::size_t burst = 200;
  const auto count = static_cast<double>(viewers);
  const auto rate = burst / channel.say(burst);
  const auto sockets = 2 * count;
  std::printf(
      "| %s | %zu | %s | %.0f | %.1f s, %.0f/s | %zu | %.0f ms | %.0f | %.0f | %.0f | %.0f |\n",
      kind.c_str(), viewers, presence ? "yes" : "no", sockets, joined, count / joined, memberEvents,
      single[single.size() / 2] * 1000, rate, rate * (count - 1),
      (brokers.kilobytes() - theirsBefore) / sockets, (kilobytesOf(getpid()) - ownBefore) / count);
  std::fflush(stdout);
  if (channel.counts().failed > 0) std::printf("  %zu failed\n", channel.counts().failed.load());
  channel.logout();
}

}  // namespace
}  // namespace zavelo::bench

int main(int count, char** words) {
  if (count < 3) {
    std::fputs("usage: zavelo_scaling single|bridge|ejabberd VIEWERS...\n", stderr);
    return 2;
  }
  for (int i = 2; i < count; ++i)
    for (const bool presence : {true, false})
      zavelo::bench::measure(words[1], std::strtoul(words[i], nullptr, 10), presence);
}

#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "sandbox/broker/broker_process.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"

namespace zavelo::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

inline bool waitFor(const std::function<bool()>& holds,
                    std::chrono::milliseconds time = std::chrono::seconds(60)) {
  const auto deadline = std::chrono::steady_clock::now() + time;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

inline std::unique_ptr<sandbox::BrokerProcess> startBroker(
    const sandbox::BrokerOptions& options = {}) {
  auto broker = sandbox::BrokerProcess::start(options);
  if (!broker) throw std::runtime_error(broker.error());
  return std::move(*broker);
}

inline std::string addressOf(const sandbox::BrokerProcess& broker) {
  return "mqtt://127.0.0.1:" + std::to_string(broker.port());
}

/// For tests of what goes wrong: found out sooner.
inline MqttEngineOptions hurried(const std::string& address) {
  MqttEngineOptions result{.address = address};
  result.keepAlive = std::chrono::seconds(5);
  result.sendTimeout = std::chrono::seconds(1);
  return result;
}

/// What a user hears, in words, in the order in which it comes.
class MqttEars final : public AgoraRtmDelegate, public AgoraRtmChannelDelegate {
 public:
  void connectionStateChanged(std::int64_t state, std::int64_t reason) override {
    hear("state " + std::to_string(state) + "/" + std::to_string(reason));
  }
  void peerMessageReceived(const std::string& text, const std::string& peerId) override {
    hear("peer " + peerId + ": " + text);
  }
  void tokenDidExpire() override { hear("token expired"); }
  void connectionProblemChanged(const std::string& address, const std::string& problem) override {
    report(address + ": " + problem);
  }
  void channelStateChanged(const std::string& channelId, AgoraRtmChannelState state,
                           const std::string& problem, std::chrono::milliseconds) override {
    using enum AgoraRtmChannelState;
    report(channelId + (state == interrupted ? " interrupted, " + problem
                        : state == resumed   ? " resumed"
                                             : " given up, " + problem));
  }
  void textDropped(const std::string& channelId) override { report("dropped " + channelId); }
  void memberJoined(const std::string& channelId, const std::string& userId) override {
    hear(channelId + " +" + userId);
  }
  void memberLeft(const std::string& channelId, const std::string& userId) override {
    hear(channelId + " -" + userId);
  }
  void channelMessageReceived(const std::string& channelId, const std::string& text,
                              const std::string& userId) override {
    hear(channelId + " " + userId + ": " + text);
  }

  [[nodiscard]] std::vector<std::string> heard() const {
    const std::lock_guard lock(mutex_);
    return heard_;
  }
  /// What not every engine reports.
  [[nodiscard]] std::vector<std::string> reports() const {
    const std::lock_guard lock(mutex_);
    return reports_;
  }
  [[nodiscard]] bool reported(const std::string& what) const {
    return std::ranges::count(reports(), what) > 0;
  }
  [[nodiscard]] bool has(const std::string& what) const { return count(what) > 0; }
  [[nodiscard]] std::size_t count(const std::string& what) const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::ranges::count(heard_, what));
  }
  void forget() {
    const std::lock_guard lock(mutex_);
    heard_.clear();
  }

 private:
  void hear(std::string what) {
    const std::lock_guard lock(mutex_);
    heard_.push_back(std::move(what));
  }
  void report(std::string what) {
    const std::lock_guard lock(mutex_);
    reports_.push_back(std::move(what));
  }

  mutable std::mutex mutex_;
  std::vector<std::string> heard_, reports_;
};

/// A user of the engine, whose operations wait for their completion.
class MqttUser {
 public:
  MqttUser(MqttEngineOptions options, std::string userId, const std::string& appId = "app")
      : id(std::move(userId)), kit(mqttEngine(std::move(options)).value()(appId, ears)) {}

  std::int64_t login() {
    return wait([&](auto done) { kit->login({}, id, done); });
  }
  std::int64_t join(const std::string& channel) {
    return wait([&](auto done) { kit->createChannel(channel, ears)->join(done); });
  }
  std::int64_t joinUnseen(const std::string& channel) {
    return wait([&](auto done) {
      kit->createChannel(channel, ears)->joinWithOptions({.presence = false}, done);
    });
  }
  std::int64_t leave(const std::string& channel) {
    return wait([&](auto done) { kit->createChannel(channel, ears)->leave(done); });
  }
  std::int64_t say(const std::string& channel, const std::string& text) {
    return wait([&](auto done) { kit->createChannel(channel, ears)->send(text, done); });
  }
  std::int64_t tell(const std::string& peer, const std::string& text) {
    return wait([&](auto done) { kit->send(text, peer, done); });
  }
  std::int64_t logout() {
    return wait([&](auto done) { kit->logout(done); });
  }
  std::vector<std::string> members(const std::string& channel) {
    std::vector<std::string> ids;
    wait([&](auto done) {
      kit->createChannel(channel, ears)->getMembers([&ids, done](auto members) {
        ids = std::move(members).value_or(std::vector<std::string>{"none"});
        done(0);
      });
    });
    return ids;
  }
  AgoraRtmMemberCount count(const std::string& channel) {
    AgoraRtmMemberCount result;
    wait([&](auto done) {
      kit->createChannel(channel, ears)->countMembers([&result, done](auto count) {
        result = count.value_or(AgoraRtmMemberCount{});
        done(0);
      });
    });
    return result;
  }
  [[nodiscard]] bool hears(const std::string& what) const {
    return waitFor([&] { return ears->has(what); });
  }

  const std::shared_ptr<MqttEars> ears = std::make_shared<MqttEars>();
  const std::string id;
  std::shared_ptr<AgoraRtmKit> kit;

 private:
  template <class Start>
  static std::int64_t wait(Start start) {
    auto code = std::make_shared<std::atomic<std::int64_t>>(-1);
    start([code](std::int64_t answer) { *code = answer; });
    waitFor([&] { return *code != -1; });
    return *code;
  }
};

}  // namespace zavelo::testing

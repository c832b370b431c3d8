#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/testing/rtm_engine_contract.hpp"

namespace zavelo::testing::detail {

/// What a clause found broken; caught by the clause's runner.
struct Broken {
  std::string what;
};

inline void require(bool holds, const std::string& what) {
  if (!holds) throw Broken{what};
}

/// Notes what a kit reports, in the order of the reports: "state 3/2", "peer bob: hi",
/// "c bob: hi", "c +bob", "c -bob".
class RtmEars final : public AgoraRtmDelegate, public AgoraRtmChannelDelegate {
 public:
  void connectionStateChanged(AgoraRtmConnectionState state,
                              AgoraRtmConnectionChangeReason reason) override {
    note("state " + std::to_string(state) + "/" + std::to_string(reason));
  }
  void peerMessageReceived(const std::string& text, const std::string& peerId) override {
    note("peer " + peerId + ": " + text);
  }
  void tokenDidExpire() override {}
  void channelMessageReceived(const std::string& channelId, const std::string& text,
                              const std::string& userId) override {
    note(channelId + " " + userId + ": " + text);
  }
  void memberJoined(const std::string& channelId, const std::string& userId) override {
    note(channelId + " +" + userId);
  }
  void memberLeft(const std::string& channelId, const std::string& userId) override {
    note(channelId + " -" + userId);
  }

  [[nodiscard]] std::vector<std::string> heard() const {
    const std::lock_guard lock(mutex_);
    return heard_;
  }
  void forget() {
    const std::lock_guard lock(mutex_);
    heard_.clear();
  }

 private:
  void note(std::string event) {
    const std::lock_guard lock(mutex_);
    heard_.push_back(std::move(event));
  }

  mutable std::mutex mutex_;
  std::vector<std::string> heard_;
};

/// An answer that comes once, on whatever thread.
template <class T>
class RtmAnswer {
 public:
  /// A completion that keeps what it is given.
  [[nodiscard]] auto taker() const {
    return [state = state_](T value) {
      const std::lock_guard lock(state->mutex);
      ++state->count;
      state->value = std::move(value);
    };
  }
  T wait(RtmEngineUnderTest& engine, const std::string& what) const {
    const auto answered = [this] {
      const std::lock_guard lock(state_->mutex);
      return state_->count > 0;
    };
    require(engine.waitUntil(answered), what + " was not answered");
    const std::lock_guard lock(state_->mutex);
    require(state_->count == 1, what + " was answered twice");
    return *state_->value;
  }

 private:
  struct State {
    std::mutex mutex;
    int count = 0;
    std::optional<T> value;
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Expected where engines answer with codes of their own.
inline constexpr std::int64_t anyFailure = -1;

/// Somebody with a kit, who waits for the answer to each thing done.
class RtmPerson {
 public:
  RtmPerson(RtmEngineUnderTest& engine, std::string userId)
      : engine_(engine), userId_(std::move(userId)), kit(engine.createKit(ears)) {
    require(kit != nullptr, "no kit was made");
  }

  void login(std::int64_t expected = rtmCode::success) {
    await("login", expected, [&](auto done) { kit->login({}, userId_, std::move(done)); });
  }
  void logout(std::int64_t expected = rtmCode::success) {
    await("logout", expected, [&](auto done) { kit->logout(std::move(done)); });
  }
  void join(const std::string& id, std::int64_t expected = rtmCode::success) {
    await("join", expected, [&](auto done) { channel(id).join(std::move(done)); });
  }
  void leave(const std::string& id, std::int64_t expected = rtmCode::success) {
    await("leave", expected, [&](auto done) { channel(id).leave(std::move(done)); });
  }
  void say(const std::string& id, const std::string& text,
           std::int64_t expected = rtmCode::success) {
    await("channel message", expected, [&](auto done) { channel(id).send(text, std::move(done)); });
  }
  void tell(const std::string& peerId, const std::string& text,
            std::int64_t expected = rtmCode::success) {
    if (expected == anyFailure && !engine_.noticesAbsentPeers()) expected = rtmCode::success;
    await("peer message", expected, [&](auto done) { kit->send(text, peerId, std::move(done)); });
  }

  /// Says it until it is acknowledged.
  bool getsThrough(const std::string& id, const std::string& text) {
    const auto isSent = std::make_shared<std::atomic<bool>>(false);
    const auto isUnderWay = std::make_shared<std::atomic<bool>>(false);
    const auto isThrough = [&] {
      if (*isSent || isUnderWay->exchange(true)) return isSent->load();
      channel(id).send(text, [isSent, isUnderWay](std::int64_t code) {
        *isSent = code == rtmCode::success;
        *isUnderWay = false;
      });
      return false;
    };
    // An engine that works step by step is asked what holds once a step.
    return engine_.waitUntil(isThrough) || engine_.waitUntil(isThrough);
  }
  bool heardSoon(const std::string& event) {
    return engine_.waitUntil([&] {
      const auto heard = ears->heard();
      return std::find(heard.begin(), heard.end(), event) != heard.end();
    });
  }

  /// The user ids in alphabetical order; absent when they cannot be had.
  std::optional<std::vector<std::string>> members(const std::string& id) {
    const RtmAnswer<std::optional<std::vector<std::string>>> answer;
    channel(id).getMembers(answer.taker());
    auto list = answer.wait(engine_, userId_ + "'s members");
    if (list) std::sort(list->begin(), list->end());
    return list;
  }

  /// These reports have come, in this order and nothing else, since the last time.
  void expect(const std::vector<std::string>& events) {
    const bool came = engine_.waitUntil([&] { return ears->heard().size() >= events.size(); });
    const auto heard = ears->heard();
    std::string text;
    for (const auto& event : heard) text += "[" + event.substr(0, 80) + "]";
    require(came && heard == events, userId_ + " heard " + text);
    ears->forget();
  }

 private:
  template <class Start>
  void await(const std::string& what, std::int64_t expected, const Start& start) {
    const RtmAnswer<std::int64_t> answer;
    start(AgoraRtmCompletion(answer.taker()));
    const auto name = userId_ + "'s " + what;
    const auto code = answer.wait(engine_, name);
    require(code == expected || (expected == anyFailure && code != rtmCode::success),
            name + " came to " + std::to_string(code));
    engine_.settle();
  }

  AgoraRtmChannel& channel(const std::string& id) {
    const auto channels = kit->channels();
    require(channels.has_value(), "the channels cannot be read");
    if (const auto entry = channels->find(id); entry != channels->end()) return *entry->second;
    const auto created = kit->createChannel(id, ears);
    require(created != nullptr, "the channel \"" + id + "\" was not created");
    return *created;
  }

  RtmEngineUnderTest& engine_;
  const std::string userId_;

 public:
  const std::shared_ptr<RtmEars> ears = std::make_shared<RtmEars>();
  std::shared_ptr<AgoraRtmKit> kit;
};

}  // namespace zavelo::testing::detail

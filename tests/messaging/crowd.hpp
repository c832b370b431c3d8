#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>

#include "tests/messaging/mqtt_world.hpp"

namespace zavelo::testing {

/// Users who log in, then join the channel "c" together, with default time-outs.
class Crowd {
 public:
  using Seconds = std::chrono::duration<double>;

  Crowd(const std::string& address, const std::string& name, int size) {
    for (int i = 0; i < size; ++i)
      users_.emplace_back(MqttEngineOptions{.address = address}, name + std::to_string(i));
  }

  // Both return how long it took until all were answered. With a pause, one begins after the other.

  /// A login that fails is tried again.
  Seconds login(std::chrono::microseconds pause) {
    begin();
    for (auto& user : users_) {
      std::this_thread::sleep_for(pause);
      login(user);
    }
    return waitForAnswers();
  }
  Seconds join(std::chrono::microseconds pause) {
    begin();
    for (auto& user : users_) {
      std::this_thread::sleep_for(pause);
      user.kit->createChannel("c", user.ears)->join([this](std::int64_t code) {
        if (code != rtmCode::success) ++failed_;
        ++answered_;
      });
    }
    return waitForAnswers();
  }

  /// How many joins or logins have failed.
  [[nodiscard]] std::size_t failed() const { return failed_; }
  [[nodiscard]] std::size_t heard(const std::string& text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(users_, [&](const auto& each) { return each.ears->has(text); }));
  }
  [[nodiscard]] MqttUser& first() { return users_.front(); }

 private:
  void login(MqttUser& user) {
    user.kit->login({}, user.id, [this, &user](std::int64_t code) {
      if (code == rtmCode::success) return void(++answered_);
      ++failed_;
      login(user);
    });
  }
  void begin() {
    begin_ = std::chrono::steady_clock::now();
    answered_ = failed_ = 0;
  }
  Seconds waitForAnswers() {
    while (answered_ < users_.size()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return std::chrono::steady_clock::now() - begin_;
  }

  std::deque<MqttUser> users_;
  std::chrono::steady_clock::time_point begin_;
  std::atomic<std::size_t> failed_ = 0, answered_ = 0;
};

}  // namespace zavelo::testing

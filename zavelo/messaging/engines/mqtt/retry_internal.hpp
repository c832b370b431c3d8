#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <utility>

namespace zavelo::detail {

/// How long to wait before the next try: twice as long each time, up to a limit, and not as long as
/// all the others who lost the same broker wait.
class MqttRetry {
 public:
  using Time = std::chrono::milliseconds;

  MqttRetry(Time first, Time longest) : first_(first), longest_(longest), next_(first) {}

  Time next() {
    const auto time = std::exchange(next_, std::min(next_ * 2, longest_));
    return Time(std::uniform_int_distribution(time.count() / 2, time.count())(random_));
  }
  void reset() { next_ = first_; }

 private:
  const Time first_, longest_;
  Time next_;
  std::minstd_rand random_{std::random_device{}()};
};

/// A name that no other session has: 64 random bits.
inline std::string randomMqttSession() {
  std::random_device system;
  std::string name;
  for (int i = 0; i < 16; ++i) name += "0123456789abcdef"[system() % 16];
  return name;
}

}  // namespace zavelo::detail

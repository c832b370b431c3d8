#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"

namespace zavelo::detail {

/// Names what is sent. The same text gets the name of its last attempt again when that failed, as
/// the attempt may have reached the others all the same.
class MqttMessageIds {
 public:
  std::string idFor(std::string_view text) {
    const auto hash = std::hash<std::string_view>()(text);
    const auto found = std::ranges::find(failed_, hash, &Failed::first);
    if (found == failed_.end()) return session_ + std::to_string(++last_);
    auto id = std::move(found->second);
    failed_.erase(found);
    return id;
  }
  void noteFailure(std::string_view text, std::string id) {
    if (failed_.size() == mostFailed) failed_.pop_front();
    failed_.emplace_back(std::hash<std::string_view>()(text), std::move(id));
  }

 private:
  using Failed = std::pair<std::size_t, std::string>;
  static constexpr std::size_t mostFailed = 256;

  const std::string session_ = randomMqttSession() + ".";
  std::uint64_t last_ = 0;
  std::deque<Failed> failed_;
};

/// Knows the last messages of each sender again. Of the senders the most recent thousand or two are
/// kept.
class MqttRepeats {
 public:
  bool isRepeat(const std::string& senderId, std::string_view id) {
    if (id.empty()) return false;
    const auto hash = std::hash<std::string_view>()(id);
    auto& recent = recentOf(senderId);
    if (std::ranges::find(recent.hashes, hash) != recent.hashes.end()) return true;
    recent.hashes[recent.next++ % recent.hashes.size()] = hash;
    return false;
  }

 private:
  struct Recent {
    std::array<std::size_t, 32> hashes{};
    std::size_t next = 0;
  };
  static constexpr std::size_t mostSenders = 1000;

  Recent& recentOf(const std::string& senderId) {
    if (const auto found = current_.find(senderId); found != current_.end()) return found->second;
    if (current_.size() == mostSenders) previous_ = std::exchange(current_, {});
    auto& recent = current_[senderId];
    if (const auto found = previous_.find(senderId); found != previous_.end())
      recent = found->second;
    return recent;
  }

  std::unordered_map<std::string, Recent> current_, previous_;
};

}  // namespace zavelo::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zavelo::detail {

/// Who is in a channel, as its presence entries tell. A user may have several sessions, some of
/// them of a connection that is gone and whose entry is about to go.
class MqttRoster {
 public:
  /// Whether the user came by it.
  bool add(const std::string& userId, const std::string& session);
  /// Whether the user went by it.
  bool remove(const std::string& userId, const std::string& session);

  /// The list is about to be read anew.
  void beginReading() { ++reading_; }
  [[nodiscard]] std::uint64_t reading() const noexcept { return reading_; }
  /// Of the users who are meant, removes the sessions that were last added before this reading
  /// began, and tells which users went by it.
  template <class Predicate>
  std::vector<std::string> removeUnseenSince(std::uint64_t reading, Predicate isMeant) {
    std::vector<std::string> removed;
    for (auto& [userId, sessions] : members_) {
      if (!isMeant(userId)) continue;
      std::erase_if(sessions, [&](const auto& each) { return each.second < reading; });
      if (sessions.empty()) removed.push_back(userId);
    }
    for (const auto& userId : removed) members_.erase(userId);
    return removed;
  }

  template <class Predicate>
  void removeIf(Predicate predicate) {
    std::erase_if(members_, [&](const auto& each) { return predicate(each.first); });
  }
  void addAll(const MqttRoster& other);
  [[nodiscard]] std::size_t size() const noexcept { return members_.size(); }
  [[nodiscard]] std::vector<std::string> userIds() const;

 private:
  using Sessions = std::map<std::string, std::uint64_t>;  // with the reading that saw each last

  std::map<std::string, Sessions> members_;
  std::uint64_t reading_ = 0;
};

}  // namespace zavelo::detail

#pragma once

#include <chrono>
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
  using Time = std::chrono::steady_clock::time_point;
  static constexpr Time never = Time::max();

  /// Whether the user came by it. An entry that is not added again before `expires` has ended.
  bool add(const std::string& userId, const std::string& session, Time expires = never);
  /// Whether the user went by it.
  bool remove(const std::string& userId, const std::string& session);

  /// The list is about to be read anew; returns the reading's number.
  std::uint64_t beginReading() { return ++reading_; }
  /// Of the users who are meant, removes the sessions that were last added before this reading
  /// began, and tells which users went by it.
  template <class Predicate>
  std::vector<std::string> removeUnseenSince(std::uint64_t reading, Predicate isMeant) {
    return removeSessions([&](const std::string& userId, const Entry& entry) {
      return entry.reading < reading && isMeant(userId);
    });
  }
  /// Removes the sessions whose entries have expired, and returns the users who went by it.
  std::vector<std::string> removeExpired(Time now) {
    return removeSessions(
        [&](const std::string&, const Entry& entry) { return entry.expires <= now; });
  }
  /// When the first entry expires.
  [[nodiscard]] Time nextExpiry() const;

  template <class Predicate>
  void removeIf(Predicate predicate) {
    std::erase_if(members_, [&](const auto& each) { return predicate(each.first); });
  }
  void addAll(const MqttRoster& other);
  [[nodiscard]] std::size_t size() const noexcept { return members_.size(); }
  [[nodiscard]] std::vector<std::string> userIds() const;

 private:
  struct Entry {
    std::uint64_t reading;  // that saw it last
    Time expires;
  };
  using Sessions = std::map<std::string, Entry>;

  template <class Predicate>
  std::vector<std::string> removeSessions(Predicate predicate) {
    std::vector<std::string> removed;
    for (auto& [userId, sessions] : members_) {
      std::erase_if(sessions,
                    [&, &id = userId](const auto& each) { return predicate(id, each.second); });
      if (sessions.empty()) removed.push_back(userId);
    }
    for (const auto& userId : removed) members_.erase(userId);
    return removed;
  }

  std::map<std::string, Sessions> members_;
  std::uint64_t reading_ = 0;
};

}  // namespace zavelo::detail

#pragma once

#include <cstddef>
#include <map>
#include <set>
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

  /// The list is about to be read anew: until somebody is added again, it is open whether they are
  /// still there.
  void doubtAll();
  /// Removes those about whom it is still open, and tells who they are.
  std::vector<std::string> removeDoubted();

  template <class Predicate>
  void removeIf(Predicate predicate) {
    std::erase_if(members_, [&](const auto& each) { return predicate(each.first); });
  }
  [[nodiscard]] std::size_t size() const noexcept { return members_.size(); }
  [[nodiscard]] std::vector<std::string> userIds() const;

 private:
  std::map<std::string, std::set<std::string>> members_;  // no session: in doubt
};

}  // namespace zavelo::detail

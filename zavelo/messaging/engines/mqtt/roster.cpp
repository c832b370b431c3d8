#include "zavelo/messaging/engines/mqtt/roster_internal.hpp"

#include <algorithm>

namespace zavelo::detail {

bool MqttRoster::add(const std::string& userId, const std::string& session, Time expires) {
  const auto [member, isNew] = members_.try_emplace(userId);
  member->second[session] = {reading_, expires};
  return isNew;
}

bool MqttRoster::remove(const std::string& userId, const std::string& session) {
  const auto member = members_.find(userId);
  if (member == members_.end() || member->second.erase(session) == 0 || !member->second.empty())
    return false;
  members_.erase(member);
  return true;
}

void MqttRoster::addAll(const MqttRoster& other) {
  for (const auto& [userId, sessions] : other.members_)
    for (const auto& [session, entry] : sessions) add(userId, session, entry.expires);
}

MqttRoster::Time MqttRoster::nextExpiry() const {
  Time next = never;
  for (const auto& [userId, sessions] : members_)
    for (const auto& [session, entry] : sessions) next = std::min(next, entry.expires);
  return next;
}

std::vector<std::string> MqttRoster::userIds() const {
  std::vector<std::string> ids;
  ids.reserve(members_.size());
  for (const auto& [userId, sessions] : members_) ids.push_back(userId);
  return ids;
}

}  // namespace zavelo::detail

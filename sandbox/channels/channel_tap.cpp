#include "sandbox/channels/channel_tap.hpp"

#include <utility>

#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::sandbox {

Result<std::unique_ptr<ChannelTap>, std::string> ChannelTap::open(
    std::uint16_t port, const std::string& userName, std::vector<ChannelListener*> listeners) {
  std::unique_ptr<ChannelTap> tap(new ChannelTap(std::move(listeners)));
  auto connection = BrokerConnection::open(
      port, userName, "rt1/+/c/#",
      {.lost = [self = tap.get()] { self->forgetAll(); },
       .received = [self = tap.get()](
                       const std::string& topic,
                       const std::string& payload) { self->receive(topic, payload); }});
  if (!connection) return Failure{std::move(connection).error()};
  tap->connection_ = std::move(*connection);
  return tap;
}

std::int64_t ChannelTap::tell(std::string_view channelId, std::string_view senderId,
                              const std::string& text) {
  std::vector<std::string> apps;
  {
    const std::scoped_lock lock(mutex_);
    for (const auto& [place, members] : members_) {
      if (place.channelId == channelId) apps.push_back(place.appId);
    }
  }
  std::int64_t told = 0;
  for (const auto& app : apps) {
    if (connection_->publish(mqttChannelTopic(app, channelId, senderId), text)) ++told;
  }
  return told;
}

std::set<std::string> ChannelTap::channels() const {
  std::set<std::string> ids;
  const std::scoped_lock lock(mutex_);
  for (const auto& [place, members] : members_) ids.insert(place.channelId);
  return ids;
}

void ChannelTap::receive(const std::string& topic, const std::string& payload) {
  const auto parsed = parsedMqttTopic(topic);
  if (!parsed) return;
  const ChannelMember member{parsed->appId, parsed->channelId, parsed->userId};
  if (parsed->kind == MqttTopic::Kind::presence) {
    notePresence(member, parsed->session, !payload.empty());
  } else if (parsed->kind == MqttTopic::Kind::channelText) {
    for (auto* listener : listeners_) listener->received(member, payload);
  }
}

/// Somebody is there for as long as any of their sessions is.
void ChannelTap::notePresence(const ChannelMember& member, const std::string& session,
                              bool isThere) {
  {
    const std::scoped_lock lock(mutex_);
    const Place place{member.channelId, member.appId};
    auto& there = members_[place];
    auto& sessions = there[member.userId];
    const bool wasThere = !sessions.empty();
    if (isThere)
      sessions.insert(session);
    else
      sessions.erase(session);
    const bool isStillThere = !sessions.empty();
    if (!isStillThere) there.erase(member.userId);
    if (there.empty()) members_.erase(place);
    if (wasThere == isStillThere) return;
  }
  for (auto* listener : listeners_) isThere ? listener->came(member) : listener->went(member);
}

/// A broker that was restarted has forgotten its members; each of them reports its presence again.
void ChannelTap::forgetAll() {
  std::map<Place, std::map<std::string, Sessions>> gone;
  {
    const std::scoped_lock lock(mutex_);
    gone.swap(members_);
  }
  for (const auto& [place, users] : gone) {
    for (const auto& [user, sessions] : users) {
      for (auto* listener : listeners_) listener->went({place.appId, place.channelId, user});
    }
  }
}

}  // namespace zavelo::sandbox

#include <algorithm>

#include "zavelo/messaging/engines/in_process_sessions_internal.hpp"

namespace zavelo::detail {

void InProcessSessions::open(SessionId id, std::string appId,
                             std::weak_ptr<AgoraRtmDelegate> delegate) {
  sessions_.emplace(id, Session{std::move(appId), std::move(delegate), {}});
}

void InProcessSessions::close(SessionId id) {
  end(id, rtmState::disconnected, rtmReason::logout);
  sessions_.erase(id);
}

void InProcessSessions::tell(const Session& session, AgoraRtmConnectionState state,
                             AgoraRtmConnectionChangeReason reason) {
  if (const auto delegate = session.delegate.lock())
    delegate->connectionStateChanged(state, reason);
}

std::int64_t InProcessSessions::login(SessionId id, const std::string& userId) {
  Session& session = sessions_.at(id);
  if (!session.userId.empty())
    return session.userId == userId ? rtmCode::loginAlreadyLoggedIn : rtmCode::failure;
  tell(session, rtmState::connecting, rtmReason::login);
  if (userId.empty()) {
    tell(session, rtmState::disconnected, rtmReason::loginFailure);
    return rtmCode::failure;
  }
  const Name name{session.appId, userId};
  if (const auto other = users_.find(name); other != users_.end())
    end(other->second, rtmState::aborted, rtmReason::remoteLogin);
  session.userId = userId;
  users_[name] = id;
  if (session.lastUserId != userId) session.joined.clear();
  session.lastUserId = userId;
  tell(session, rtmState::connected, rtmReason::loginSuccess);
  restoreChannels(id);
  return rtmCode::success;
}

void InProcessSessions::restoreChannels(SessionId id) {
  const Session& session = sessions_.at(id);
  for (const auto& [channelId, channelDelegate] : session.joined) {
    enter(id, {session.appId, channelId}, channelDelegate);
    if (const auto delegate = session.delegate.lock())
      delegate->channelStateChanged(channelId, AgoraRtmChannelState::resumed, {}, {});
  }
}

std::int64_t InProcessSessions::logout(SessionId id) {
  if (sessions_.at(id).userId.empty()) {
    sessions_.at(id).joined.clear();
    return rtmCode::notLoggedIn;
  }
  end(id, rtmState::disconnected, rtmReason::logout);
  return rtmCode::success;
}

void InProcessSessions::end(SessionId id, AgoraRtmConnectionState state,
                            AgoraRtmConnectionChangeReason reason) {
  Session& session = sessions_.at(id);
  if (session.userId.empty()) return;
  std::vector<Name> joined;
  for (const auto& [channel, members] : channels_)
    if (std::ranges::find(members, id, &Member::session) != members.end())
      joined.push_back(channel);
  for (const auto& channel : joined) remove(id, channel);
  users_.erase({session.appId, session.userId});
  session.userId.clear();
  if (reason == rtmReason::logout) session.joined.clear();
  const auto delegate = session.delegate.lock();
  for (const auto& [channelId, channelDelegate] : session.joined)
    if (delegate)
      delegate->channelStateChanged(channelId, AgoraRtmChannelState::interrupted, "not logged in",
                                    {});
  tell(session, state, reason);
}

std::int64_t InProcessSessions::sendToPeer(SessionId id, const std::string& peerId,
                                           const std::string& text) {
  const Session& session = sessions_.at(id);
  if (session.userId.empty()) return rtmCode::notLoggedIn;
  const auto peer = users_.find({session.appId, peerId});
  const auto delegate = peer == users_.end() ? nullptr : sessions_.at(peer->second).delegate.lock();
  if (!delegate) return rtmCode::failure;
  delegate->peerMessageReceived(text, session.userId);
  return rtmCode::success;
}

InProcessSessions::Members* InProcessSessions::membersWith(SessionId id, const Name& channel) {
  const auto found = channels_.find(channel);
  if (found == channels_.end()) return nullptr;
  Members& members = found->second;
  const bool isIn = std::ranges::find(members, id, &Member::session) != members.end();
  return isIn ? &members : nullptr;
}

std::int64_t InProcessSessions::join(SessionId id, const std::string& channelId,
                                     const ChannelDelegate& delegate) {
  Session& session = sessions_.at(id);
  if (session.userId.empty()) return rtmCode::notLoggedIn;
  const Name channel{session.appId, channelId};
  if (membersWith(id, channel) != nullptr) return rtmCode::joinAlreadyJoined;
  session.joined[channelId] = delegate;
  enter(id, channel, delegate);
  return rtmCode::success;
}

void InProcessSessions::enter(SessionId id, const Name& channel, const ChannelDelegate& delegate) {
  const std::string& userId = sessions_.at(id).userId;
  Members& members = channels_[channel];
  for (const Member& member : members)
    if (const auto hearing = member.delegate.lock()) hearing->memberJoined(channel.second, userId);
  members.push_back({id, userId, delegate});
}

std::int64_t InProcessSessions::leave(SessionId id, const std::string& channelId) {
  Session& session = sessions_.at(id);
  session.joined.erase(channelId);
  if (session.userId.empty()) return rtmCode::notLoggedIn;
  const Name channel{session.appId, channelId};
  if (membersWith(id, channel) == nullptr) return rtmCode::notInChannel;
  remove(id, channel);
  return rtmCode::success;
}

void InProcessSessions::remove(SessionId id, const Name& channel) {
  Members& members = channels_.at(channel);
  std::erase_if(members, [&](const Member& member) { return member.session == id; });
  for (const Member& member : members)
    if (const auto hearing = member.delegate.lock())
      hearing->memberLeft(channel.second, sessions_.at(id).userId);
  if (members.empty()) channels_.erase(channel);
}

std::int64_t InProcessSessions::sendToChannel(SessionId id, const std::string& channelId,
                                              const std::string& text) {
  const Session& session = sessions_.at(id);
  if (session.userId.empty()) return rtmCode::notLoggedIn;
  const Members* members = membersWith(id, {session.appId, channelId});
  if (members == nullptr) return rtmCode::notInChannel;
  for (const Member& member : *members) {
    const auto hearing = member.session == id ? nullptr : member.delegate.lock();
    if (hearing) hearing->channelMessageReceived(channelId, text, session.userId);
  }
  return rtmCode::success;
}

std::optional<std::vector<std::string>> InProcessSessions::members(SessionId id,
                                                                   const std::string& channelId) {
  const Members* members = membersWith(id, {sessions_.at(id).appId, channelId});
  if (members == nullptr) return std::nullopt;
  std::vector<std::string> userIds;
  for (const Member& member : *members) userIds.push_back(member.userId);
  return userIds;
}

}  // namespace zavelo::detail

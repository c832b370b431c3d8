#include "zavelo/messaging/engines/mqtt/session_internal.hpp"

namespace zavelo::detail {

MqttSession::MqttSession(std::shared_ptr<MqttSurroundings> around)
    : around_(std::move(around)),
      pace_(around_->options.firstRetry, around_->options.longestRetry) {}

void MqttSession::tell(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) const {
  around_->tellDelegate(&AgoraRtmDelegate::connectionStateChanged, state, reason);
}

// ---- login ----

void MqttSession::login(std::optional<std::string> token, std::string userId,
                        AgoraRtmCompletion completion) {
  if (login_) {
    if (login_->userId() != userId) return around_->tell(completion, rtmCode::failure);
    if (isLoggedIn()) return around_->tell(completion, rtmCode::loginAlreadyLoggedIn);
    return entering_.push_back(std::move(completion));
  }
  if (lastUserId_ != userId) leaveAll(std::exchange(channels_, {}));
  lastUserId_ = userId;
  entering_.push_back(std::move(completion));
  login_ = std::make_shared<MqttLogin>(around_, std::move(userId), std::move(token), reports());
  tell(rtmState::connecting, rtmReason::login);
  if (login_->userId().empty()) return ended(rtmState::disconnected, rtmReason::loginFailure);
  startLogin();
}

void MqttSession::startLogin() {
  // Whoever answers a failure by a new login at once shall not storm the broker.
  const auto wait =
      std::chrono::ceil<std::chrono::milliseconds>(notBefore_ - MqttLoop::Clock::now());
  if (wait.count() <= 0) return login_->start();
  around_->loop->after(wait, [weak = std::weak_ptr(login_)] {
    if (const auto login = weak.lock()) login->start();
  });
}

MqttLogin::Reports MqttSession::reports() {
  const auto weak = weak_from_this();
  return {[weak](auto state, auto reason) {
            if (const auto self = weak.lock()) self->heardState(state, reason);
          },
          [weak](auto state, auto reason) {
            if (const auto self = weak.lock()) self->ended(state, reason);
          }};
}

void MqttSession::heardState(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) {
  tell(state, reason);
  if (state != rtmState::connected) return;
  pace_.reset();
  notBefore_ = {};
  const auto channels = channels_;
  for (const auto& [id, channel] : channels)
    if (login_) channel->resume(user());
  settleLogin(rtmCode::success);
}

void MqttSession::ended(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) {
  login_ = nullptr;
  if (state == rtmState::disconnected) notBefore_ = MqttLoop::Clock::now() + pace_.next();
  if (reason == rtmReason::bannedByServer) {
    for (const auto& [id, channel] : std::exchange(channels_, {}))
      channel->giveUp("the broker has banned the user");
  } else {
    suspendChannels("not logged in");
  }
  tell(state, reason);
  settleLogin(reason == rtmReason::loginTimeout ? rtmCode::failure : rtmCode::rejected);
}

void MqttSession::suspendChannels(const std::string& problem) {
  const auto channels = channels_;
  for (const auto& [id, channel] : channels)
    if (!channel->hasEnded()) channel->suspend(problem);
}

void MqttSession::settleLogin(std::int64_t code) {
  for (const auto& completion : std::exchange(entering_, {})) around_->tell(completion, code);
}

void MqttSession::logout(AgoraRtmCompletion completion) {
  auto channels = std::exchange(channels_, {});
  if (!login_) {
    leaveAll(channels);
    return around_->tell(completion, rtmCode::notLoggedIn);
  }
  const auto login = std::exchange(login_, nullptr);
  settleLogin(rtmCode::failure);
  // First nobody reaches the user any more, then the channels see the user go.
  login->leave([weak = weak_from_this(), channels = std::move(channels),
                completion = std::move(completion)] {
    leaveAll(channels);
    const auto self = weak.lock();
    if (!self) return;
    self->tell(rtmState::disconnected, rtmReason::logout);
    self->around_->tell(completion, rtmCode::success);
  });
}

void MqttSession::leaveAll(const ChannelsById& channels) {
  for (const auto& [id, channel] : channels)
    if (!channel->hasEnded()) channel->leave({});
}

void MqttSession::send(const std::string& text, const std::string& peerId,
                       const AgoraRtmCompletion& completion) {
  if (!isLoggedIn()) return around_->tell(completion, rtmCode::notLoggedIn);
  if (peerId.empty()) return around_->tell(completion, rtmCode::failure);
  login_->send(text, peerId, completion);
}

// ---- channels ----

std::shared_ptr<MqttChannel> MqttSession::joined(const std::string& channelId) const {
  const auto found = channels_.find(channelId);
  return found == channels_.end() || found->second->hasEnded() ? nullptr : found->second;
}

void MqttSession::join(const std::string& channelId,
                       std::weak_ptr<AgoraRtmChannelDelegate> delegate,
                       const AgoraRtmJoinOptions& options, const AgoraRtmCompletion& completion) {
  if (!isLoggedIn()) return around_->tell(completion, rtmCode::notLoggedIn);
  if (joined(channelId)) return around_->tell(completion, rtmCode::joinAlreadyJoined);
  const auto channel =
      std::make_shared<MqttChannel>(around_, user(), channelId, std::move(delegate), options);
  channels_[channelId] = channel;
  channel->join(completion);
}

void MqttSession::leave(const std::string& channelId, const AgoraRtmCompletion& completion) {
  const auto channel = joined(channelId);
  channels_.erase(channelId);
  if (!isLoggedIn()) {
    if (channel) channel->leave({});  // it would come back with the next login
    return around_->tell(completion, rtmCode::notLoggedIn);
  }
  if (!channel) return around_->tell(completion, rtmCode::notInChannel);
  channel->leave(completion);
}

void MqttSession::sendToChannel(const std::string& channelId, const std::string& text,
                                const AgoraRtmCompletion& completion) {
  if (!isLoggedIn()) return around_->tell(completion, rtmCode::notLoggedIn);
  const auto channel = joined(channelId);
  if (!channel) return around_->tell(completion, rtmCode::notInChannel);
  channel->send(text, completion);
}

void MqttSession::getMembers(const std::string& channelId,
                             const AgoraRtmMembersCompletion& completion) {
  const auto channel = isLoggedIn() ? joined(channelId) : nullptr;
  if (!channel) return around_->tell(completion, std::nullopt);
  channel->getMembers(completion);
}

void MqttSession::countMembers(const std::string& channelId,
                               const AgoraRtmCountCompletion& completion) {
  const auto channel = isLoggedIn() ? joined(channelId) : nullptr;
  if (!channel) return around_->tell(completion, std::nullopt);
  channel->countMembers(completion);
}

// ---- what the device does ----

void MqttSession::suspend() {
  if (!isLoggedIn()) return;
  suspendChannels("suspended");
  login_->suspend();
}

void MqttSession::resume() {
  if (login_) login_->resume();  // the channels follow when it is logged in
}

void MqttSession::networkChanged() {
  if (!login_) return;
  login_->networkChanged();
  const auto channels = channels_;
  for (const auto& [id, channel] : channels) channel->networkChanged();
}

void MqttSession::setInBackground(bool isInBackground) {
  around_->isInBackground = isInBackground;
  if (login_) login_->paceChanged();
  for (const auto& [id, channel] : channels_) channel->paceChanged();
}

void MqttSession::close() {
  if (!login_) {
    leaveAll(std::exchange(channels_, {}));
    return around_->loop->finish();
  }
  logout([](std::int64_t) {});
  around_->loop->finish();
}

}  // namespace zavelo::detail

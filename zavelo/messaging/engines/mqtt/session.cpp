#include "zavelo/messaging/engines/mqtt/session_internal.hpp"

namespace zavelo::detail {

MqttSession::MqttSession(std::shared_ptr<MqttSurroundings> around,
                         std::weak_ptr<AgoraRtmDelegate> delegate)
    : around_(std::move(around)),
      delegate_(std::move(delegate)),
      pace_(around_->options.firstRetry, around_->options.longestRetry) {}

void MqttSession::tell(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) const {
  const auto delegate = delegate_.lock();
  if (delegate && !around_->isGone) delegate->connectionStateChanged(state, reason);
}

void MqttSession::login(std::optional<std::string> token, std::string userId,
                        AgoraRtmCompletion completion) {
  if (login_) {
    if (login_->userId() != userId) return around_->tell(completion, rtmCode::failure);
    if (isLoggedIn()) return around_->tell(completion, rtmCode::loginAlreadyLoggedIn);
    return entering_.push_back(std::move(completion));
  }
  entering_.push_back(std::move(completion));
  login_ = std::make_shared<MqttLogin>(around_, std::move(userId), std::move(token), reports());
  tell(rtmState::connecting, rtmReason::login);
  if (login_->userId().empty()) return ended(rtmState::disconnected, rtmReason::loginFailure);
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
          [weak](const auto& text, const auto& senderId) {
            const auto self = weak.lock();
            const auto delegate = self ? self->delegate_.lock() : nullptr;
            if (delegate && !self->around_->isGone) delegate->peerMessageReceived(text, senderId);
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
  settleLogin(rtmCode::success);
}

void MqttSession::ended(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) {
  login_ = nullptr;
  if (state == rtmState::disconnected) notBefore_ = MqttLoop::Clock::now() + pace_.next();
  leaveAll(std::exchange(channels_, {}));
  tell(state, reason);
  settleLogin(reason == rtmReason::loginTimeout ? rtmCode::failure : rtmCode::rejected);
}

void MqttSession::settleLogin(std::int64_t code) {
  for (const auto& completion : std::exchange(entering_, {})) around_->tell(completion, code);
}

void MqttSession::logout(AgoraRtmCompletion completion) {
  if (!login_) return around_->tell(completion, rtmCode::notLoggedIn);
  const auto login = std::exchange(login_, nullptr);
  settleLogin(rtmCode::failure);
  // First nobody reaches the user any more, then the channels see the user go.
  login->leave([weak = weak_from_this(), channels = std::exchange(channels_, {}),
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

std::shared_ptr<MqttChannel> MqttSession::joined(const std::string& channelId) const {
  const auto found = channels_.find(channelId);
  return found == channels_.end() || found->second->hasEnded() ? nullptr : found->second;
}

void MqttSession::join(const std::string& channelId,
                       std::weak_ptr<AgoraRtmChannelDelegate> delegate,
                       const AgoraRtmCompletion& completion) {
  if (!isLoggedIn()) return around_->tell(completion, rtmCode::notLoggedIn);
  if (joined(channelId)) return around_->tell(completion, rtmCode::joinAlreadyJoined);
  const auto channel =
      std::make_shared<MqttChannel>(around_, MqttChannel::User{login_->userId(), login_->token()},
                                    channelId, std::move(delegate));
  channels_[channelId] = channel;
  channel->join(completion);
}

void MqttSession::leave(const std::string& channelId, const AgoraRtmCompletion& completion) {
  if (!isLoggedIn()) return around_->tell(completion, rtmCode::notLoggedIn);
  const auto channel = joined(channelId);
  if (!channel) return around_->tell(completion, rtmCode::notInChannel);
  channels_.erase(channelId);
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

void MqttSession::close() {
  if (!login_) return around_->loop->finish();
  logout([](std::int64_t) {});
  around_->loop->finish();
}

}  // namespace zavelo::detail

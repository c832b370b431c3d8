#include "zavelo/messaging/rtm_client.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "zavelo/core/configuration.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/messaging/rtm_call_internal.hpp"
#include "zavelo/messaging/rtm_names_internal.hpp"

namespace zavelo {
std::shared_ptr<ZVRTMClient> ZVRTMClient::create(Collaborators collaborators) {
  return std::shared_ptr<ZVRTMClient>(new ZVRTMClient(std::move(collaborators)));
}

std::shared_ptr<AgoraRtmKit> ZVRTMClient::kit() {
  // Not under the lock: making it runs an app's own code, its log sink for one.
  std::call_once(kitOnce_, [this] {
    kit_ = with_.makeKit(configuration::agoraAppId(), weak_from_this());
    if (kit_) return;
    std::fputs("ZVRTMClient: the messaging engine gave no kit\n", stderr);
    std::abort();
  });
  return kit_;
}

std::int64_t ZVRTMClient::loginWorkerId() {
  const std::lock_guard lock(mutex_);
  if (!loginWorkerId_)
    loginWorkerId_ =
        std::chrono::floor<std::chrono::milliseconds>(with_.clock->sinceBoot()).count();
  return *loginWorkerId_;
}

ZVAfterWorker& ZVRTMClient::afterWorker(std::int64_t id) {
  const std::lock_guard lock(mutex_);
  return afterWorkers_[id];
}

void ZVRTMClient::setDelegate(std::weak_ptr<ZVRTMClientDelegate> delegate) {
  const std::lock_guard lock(mutex_);
  delegate_ = std::move(delegate);
}

std::shared_ptr<ZVRTMClientDelegate> ZVRTMClient::delegate() const {
  const std::lock_guard lock(mutex_);
  return delegate_.lock();
}

AgoraRtmConnectionState ZVRTMClient::connectStatus() const {
  const std::lock_guard lock(mutex_);
  return status_.state;
}

ZVRTMStatus ZVRTMClient::status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

void ZVRTMClient::changeStatus(const std::function<bool(ZVRTMStatus&)>& change) {
  ZVRTMStatus changed;
  {
    const std::lock_guard lock(mutex_);
    if (!change(status_)) return;
    changed = status_;
  }
  if (const auto receiver = delegate()) receiver->statusChanged(changed);
}

// ---- login ----

ZVRTMClient::Success ZVRTMClient::exchangeWaiting(Success success,
                                                  std::optional<std::uint64_t> number) {
  const std::lock_guard lock(mutex_);
  if (number && *number != loginNumber_) return {};
  return std::exchange(waiting_, std::move(success));
}

void ZVRTMClient::login(Success success, ZVRetryPolicy retryPolicy) {
  std::uint64_t number = 0;
  {
    const std::lock_guard lock(mutex_);
    waiting_ = {};
    number = ++loginNumber_;
  }
  attempt(std::move(success), std::move(retryPolicy), number);
}

// By value: it cancels the retry that calls it.
void ZVRTMClient::attempt(Success success, ZVRetryPolicy retryPolicy, std::uint64_t number) {
  const auto user = with_.users->currentUser();
  if (!user) return;
  const auto& profile = user->userInfo;
  const auto userId = profile && profile->userId ? profile->userId : user->guestId;
  if (!userId || *userId < 1) return;
  afterWorker(loginWorkerId()).cancel();
  const auto succeeded = [weak = weak_from_this(), success] {
    if (success) success();
    // An earlier attempt's, which failed.
    const auto self = weak.lock();
    if (const auto waiting = self ? self->exchangeWaiting({}) : Success()) waiting();
  };
  const auto again = [weak = weak_from_this(), success, retryPolicy, number](const ZVError&) {
    const auto self = weak.lock();
    const auto delay = self && retryPolicy ? retryPolicy().after() : std::nullopt;
    if (!delay) return;
    if (success) self->exchangeWaiting(success, number);
    self->afterWorker(self->loginWorkerId()).after(*delay, *self->with_.mainQueue, [=] {
      if (const auto waiting = weak.lock()) waiting->attempt({}, retryPolicy, number);
    });
  };
  login(std::to_string(*userId), succeeded, again);
}

void ZVRTMClient::login(const std::string& userId, const Success& success, const Fail& fail) {
  kit()->login(std::nullopt, userId,
               detail::rtmCompletion(weak_from_this(),
                                     {.done = "Login Successfully: " + userId,
                                      .failed = "Login Failed",
                                      .detail = {},
                                      .function = "login(userId:success:fail:)",
                                      .alreadyCode = rtmCode::loginAlreadyLoggedIn,
                                      .already = "Already Login Successfully: " + userId},
                                     success, fail));
}

void ZVRTMClient::logout() {
  {
    const std::lock_guard lock(mutex_);
    waiting_ = {};
    ++loginNumber_;
  }
  afterWorker(loginWorkerId()).cancel();
  kit()->logout({});
}

// ---- what the engine reports ----

void ZVRTMClient::connectionStateChanged(AgoraRtmConnectionState state,
                                         AgoraRtmConnectionChangeReason reason) {
  ZVLog::i(std::string("State: ") + stateName(state) + " | Reason: " + reasonName(reason),
           ZVLogPosition("rtmKit(_:connectionStateChanged:reason:)"));
  changeStatus([&](ZVRTMStatus& status) {
    if (status.state != state) status.since = with_.clock->now();
    status.state = state, status.reason = reason;
    if (state == rtmState::disconnected && reason == rtmReason::logout) status.channels.clear();
    return true;
  });
  const bool isLost = reason == rtmReason::loginFailure || reason == rtmReason::loginTimeout ||
                      reason == rtmReason::interrupted;
  if (state == rtmState::disconnected && isLost) attempt({}, retryUntilSuccess, 0);
  if (state == rtmState::aborted && reason == rtmReason::remoteLogin && delegate())
    with_.notifications->post(ZaveloUserDidRemoteLogin);
}

void ZVRTMClient::peerMessageReceived(const std::string& text, const std::string& peerId) {
  ZVLog::i("Json String: " + text + ", type: peer: " + peerId,
           ZVLogPosition("rtmKit(_:messageReceived:fromPeer:)"));
  if (const auto receiver = delegate()) receiver->didReceivePeerMessage(peerId, text);
}

void ZVRTMClient::tokenDidExpire() {
  ZVLog::i("", ZVLogPosition("rtmKitTokenDidExpire(_:)"));
}

void ZVRTMClient::connectionProblemChanged(const std::string& address, const std::string& problem) {
  changeStatus([&](ZVRTMStatus& status) {
    status.address = address, status.problem = problem;
    return true;
  });
}

void ZVRTMClient::channelStateChanged(const std::string& channelId, AgoraRtmChannelState state,
                                      const std::string& problem,
                                      std::chrono::milliseconds silence) {
  changeStatus([&](ZVRTMStatus& status) {
    const auto now = with_.clock->now();
    auto& channel = status.channels[channelId];
    if (state == AgoraRtmChannelState::resumed) channel.gap = {channel.since, now};
    channel.state = state;
    channel.since = now - silence;
    channel.problem = problem;
    return true;
  });
}

void ZVRTMClient::textDropped(const std::string&) {
  changeStatus([](ZVRTMStatus& status) { return ++status.droppedTexts > 0; });
}

void ZVRTMClient::memberJoined(const std::string& channelId, const std::string& userId) {
  ZVLog::i("RTM Log - Member: " + userId + " joined Channel: " + channelId,
           ZVLogPosition("channel(_:memberJoined:)"));
  if (const auto receiver = delegate()) receiver->memberJoined(channelId, userId);
}

void ZVRTMClient::memberLeft(const std::string& channelId, const std::string& userId) {
  ZVLog::i("RTM Log - Member: " + userId + " left Channel: " + channelId,
           ZVLogPosition("channel(_:memberLeft:)"));
  if (const auto receiver = delegate()) receiver->memberLeft(channelId, userId);
}

void ZVRTMClient::channelMessageReceived(const std::string& channelId, const std::string& text,
                                         const std::string& userId) {
  ZVLog::i("Json String: " + text + ", type: channel",
           ZVLogPosition("channel(_:messageReceived:from:)"));
  if (const auto receiver = delegate())
    receiver->didReceiveChannelMessageFrom(userId, channelId, text);
}

}  // namespace zavelo

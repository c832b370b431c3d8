#include "zavelo/messaging/rtm_client.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "zavelo/core/configuration.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/messaging/rtm_names_internal.hpp"

namespace zavelo {
namespace {

void report(const ZVError& error, const ZVRTMClient::Fail& fail, const ZVLogPosition& where) {
  ZVLog::e(error.description(), where);
  if (fail) fail(error);
}

/// How an operation is told of, in the log and in its error.
struct Telling {
  std::string done;
  const char* failed;
  std::optional<std::string> detail;
  const char* function;
  /// A code that means that it was done before, and what the log says then.
  std::optional<std::int64_t> alreadyCode = {};
  std::string already = {};
};

/// Says in the log how it went, and calls the one or the other. A client that is gone hears
/// nothing.
AgoraRtmCompletion completionOf(std::weak_ptr<ZVRTMClient> client, Telling telling,
                                ZVRTMClient::Success success, ZVRTMClient::Fail fail) {
  return [=, client = std::move(client)](std::int64_t code) {
    if (client.expired()) return;
    const ZVLogPosition where(telling.function);
    const bool isAlready = code == telling.alreadyCode;
    if (code != rtmCode::success && !isAlready)
      return report(ZVError::rtm(telling.failed, code, telling.detail), fail, where);
    ZVLog::i(isAlready ? telling.already : telling.done, where);
    if (success) success();
  };
}

}  // namespace

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
  return connectStatus_;
}

// ---- login ----

void ZVRTMClient::login(Success success, ZVRetryPolicy retryPolicy) {
  const auto user = with_.users->currentUser();
  if (!user) return;
  const auto& profile = user->userInfo;
  const auto userId = profile && profile->userId ? profile->userId : user->guestId;
  if (!userId || *userId < 1) return;
  afterWorker(loginWorkerId()).cancel();
  const auto again = [weak = weak_from_this(), success, retryPolicy](const ZVError&) {
    const auto self = weak.lock();
    const auto delay = self && retryPolicy ? retryPolicy().after() : std::nullopt;
    if (!delay) return;
    self->afterWorker(self->loginWorkerId()).after(*delay, *self->with_.mainQueue, [=] {
      if (const auto waiting = weak.lock()) waiting->login(success, retryPolicy);
    });
  };
  login(std::to_string(*userId), success, again);
}

void ZVRTMClient::login(const std::string& userId, const Success& success, const Fail& fail) {
  kit()->login(std::nullopt, userId,
               completionOf(weak_from_this(),
                            {.done = "Login Successfully: " + userId,
                             .failed = "Login Failed",
                             .detail = {},
                             .function = "login(userId:success:fail:)",
                             .alreadyCode = rtmCode::loginAlreadyLoggedIn,
                             .already = "Already Login Successfully: " + userId},
                            success, fail));
}

void ZVRTMClient::logout() {
  kit()->logout({});
}

// ---- channels ----

void ZVRTMClient::joinChannel(const std::string& channelId,
                              std::weak_ptr<AgoraRtmChannelDelegate> delegate, Success success,
                              Fail fail) {
  constexpr const char* function = "joinChannel(_:delegate:success:fail:)";
  const auto channel = kit()->createChannel(channelId, std::move(delegate));
  if (!channel) return report(ZVError::rtm("Create Channel Failed"), fail, ZVLogPosition(function));
  channel->join(completionOf(weak_from_this(),
                             {.done = "Join Channel Successfully: " + channelId,
                              .failed = "Join Channel Failed",
                              .detail = "Channel: " + channelId,
                              .function = function,
                              .alreadyCode = rtmCode::joinAlreadyJoined,
                              .already = "Channel Already Joined: " + channelId},
                             std::move(success), std::move(fail)));
}

void ZVRTMClient::leaveChannel(const std::string& channelId, bool shouldDestroy) {
  const auto found = channel(channelId);
  if (!found) return;
  found.value()->leave([=, weak = weak_from_this()](std::int64_t code) {
    const auto self = weak.lock();
    if (!self) return;
    ZVLog::i(std::string("Leave Channel: ") + leaveName(code),
             ZVLogPosition("leaveChannel(_:shouldDestroy:)"));
    if (code == rtmCode::success && shouldDestroy) self->kit()->destroyChannel(channelId);
  });
}

void ZVRTMClient::send(const std::string& message, const std::string& peerId, Success success,
                       Fail fail) {
  const std::string detail = "Message: " + message + ", To: " + peerId;
  kit()->send(message, peerId,
              completionOf(weak_from_this(),
                           {.done = "Send Peer Message Successfully: " + detail,
                            .failed = "Send Peer Message Failed",
                            .detail = detail,
                            .function = "send(message:to:success:fail:)"},
                           std::move(success), std::move(fail)));
}

void ZVRTMClient::writeChannel(const std::string& channelId, const std::string& message,
                               Success success, Fail fail) {
  const auto found = channel(channelId);
  if (!found)
    return ZVLog::e("Get Channel Failed with error: " + found.error().description(),
                    ZVLogPosition("writeChannel(_:message:success:fail:)"));
  found.value()->send(message,
                      completionOf(weak_from_this(),
                                   {.done = "Send Channel Message Successfully: " + message,
                                    .failed = "Send Channel Message Failed",
                                    .detail = {},
                                    .function = "send(message:success:fail:)"},
                                   std::move(success), std::move(fail)));
}

void ZVRTMClient::getMembersOfChannel(const std::string& channelId, Members success) {
  const auto found = channel(channelId);
  if (!found)
    return ZVLog::e(
        "Get Channel Members " + channelId + " Failed with error: " + found.error().description(),
        ZVLogPosition("getMembersOfChannel(_:success:)"));
  found.value()->getMembers([weak = weak_from_this(), success = std::move(success)](auto members) {
    if (!weak.expired() && members && success) success(std::move(*members));
  });
}

Result<std::shared_ptr<AgoraRtmChannel>, ZVError> ZVRTMClient::channel(
    const std::string& channelId) {
  auto channels = kit()->channels();
  if (!channels) return Failure{ZVError::rtm("Channel Dictionary Nil")};
  const auto found = channels->find(channelId);
  if (found == channels->end()) return Failure{ZVError::rtm("Channel Instance Nil")};
  return found->second;
}

// ---- what the engine reports ----

void ZVRTMClient::connectionStateChanged(AgoraRtmConnectionState state,
                                         AgoraRtmConnectionChangeReason reason) {
  ZVLog::i(std::string("State: ") + stateName(state) + " | Reason: " + reasonName(reason),
           ZVLogPosition("rtmKit(_:connectionStateChanged:reason:)"));
  {
    const std::lock_guard lock(mutex_);
    connectStatus_ = state;
  }
  const bool isLost = reason == rtmReason::loginFailure || reason == rtmReason::loginTimeout ||
                      reason == rtmReason::interrupted;
  if (state == rtmState::disconnected && isLost) login({}, retryUntilSuccess);
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
                                         const std::string&) {
  ZVLog::i("Json String: " + text + ", type: channel",
           ZVLogPosition("channel(_:messageReceived:from:)"));
  if (const auto receiver = delegate()) receiver->didReceiveChannelMessage(channelId, text);
}

}  // namespace zavelo

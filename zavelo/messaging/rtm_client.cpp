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
  return status_.state;
}

ZVRTMStatus ZVRTMClient::status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

template <class Change>
void ZVRTMClient::changeStatus(Change change) {
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
  {
    const std::lock_guard lock(mutex_);
    waiting_ = {};
    ++loginNumber_;
  }
  afterWorker(loginWorkerId()).cancel();
  kit()->logout({});
}

// ---- channels ----

void ZVRTMClient::joinChannel(const std::string& channelId,
                              std::weak_ptr<AgoraRtmChannelDelegate> delegate, Success success,
                              Fail fail, const AgoraRtmJoinOptions& options) {
  constexpr const char* function = "joinChannel(_:delegate:success:fail:)";
  const auto channel = kit()->createChannel(channelId, std::move(delegate));
  if (!channel) return report(ZVError::rtm("Create Channel Failed"), fail, ZVLogPosition(function));
  changeStatus([&](ZVRTMStatus& status) {
    const auto [entry, isNew] = status.channels.try_emplace(channelId);
    const bool isFresh = isNew || entry->second.state == AgoraRtmChannelState::givenUp;
    if (isFresh) entry->second = {AgoraRtmChannelState::joining, with_.clock->now()};
    return isFresh;
  });
  const auto noting = [weak = weak_from_this(), channelId](bool isJoined) {
    if (const auto self = weak.lock()) self->noteJoin(channelId, isJoined);
  };
  auto completion = completionOf(
      weak_from_this(),
      {.done = "Join Channel Successfully: " + channelId,
       .failed = "Join Channel Failed",
       .detail = "Channel: " + channelId,
       .function = function,
       .alreadyCode = rtmCode::joinAlreadyJoined,
       .already = "Channel Already Joined: " + channelId},
      [noting, success = std::move(success)] {
        noting(true);
        if (success) success();
      },
      [noting, fail = std::move(fail)](const ZVError& error) {
        noting(false);
        if (fail) fail(error);
      });
  options.presence ? channel->join(std::move(completion))
                   : channel->joinWithOptions(options, std::move(completion));
}

void ZVRTMClient::noteJoin(const std::string& channelId, bool isJoined) {
  changeStatus([&](ZVRTMStatus& status) {
    const auto entry = status.channels.find(channelId);
    if (entry == status.channels.end() || entry->second.state != AgoraRtmChannelState::joining)
      return false;  // the engine has said more about it
    if (isJoined) entry->second = {AgoraRtmChannelState::joined, with_.clock->now()};
    if (!isJoined) status.channels.erase(entry);
    return true;
  });
}

void ZVRTMClient::leaveChannel(const std::string& channelId, bool shouldDestroy) {
  const auto found = channel(channelId);
  if (!found) return;
  found.value()->leave([=, weak = weak_from_this()](std::int64_t code) {
    const auto self = weak.lock();
    if (!self) return;
    ZVLog::i(std::string("Leave Channel: ") + leaveName(code),
             ZVLogPosition("leaveChannel(_:shouldDestroy:)"));
    self->changeStatus([&](ZVRTMStatus& status) { return status.channels.erase(channelId) > 0; });
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

ZVCall ZVRTMClient::writeChannel(const std::string& channelId, const std::string& message,
                                 Completion<std::monostate> completion) {
  const auto call =
      std::make_shared<detail::RtmCall<std::monostate>>(with_.mainQueue, std::move(completion));
  if (const auto found = channel(channelId); !found)
    call->answer(Failure{found.error()});
  else
    writeChannel(
        channelId, message, [call] { call->answer(std::monostate()); },
        [call](const ZVError& error) { call->answer(Failure{error}); });
  return ZVCall(call);
}

ZVCall ZVRTMClient::listMembersOfChannel(const std::string& channelId,
                                         Completion<std::vector<std::string>> completion) {
  const auto call = std::make_shared<detail::RtmCall<std::vector<std::string>>>(
      with_.mainQueue, std::move(completion));
  const auto failed = ZVError::rtm("Get Channel Members Failed", {}, "Channel: " + channelId);
  if (const auto found = channel(channelId); !found)
    call->answer(Failure{found.error()});
  else
    found.value()->getMembers([call, failed](auto members) {
      members ? call->answer(std::move(*members)) : call->answer(Failure{failed});
    });
  return ZVCall(call);
}

ZVCall ZVRTMClient::countMembersOfChannel(const std::string& channelId,
                                          Completion<AgoraRtmMemberCount> completion) {
  const auto call = std::make_shared<detail::RtmCall<AgoraRtmMemberCount>>(with_.mainQueue,
                                                                           std::move(completion));
  const auto failed = ZVError::rtm("Count Channel Members Failed", {}, "Channel: " + channelId);
  if (const auto found = channel(channelId); !found)
    call->answer(Failure{found.error()});
  else
    found.value()->countMembers([call, failed](auto count) {
      count ? call->answer(*count) : call->answer(Failure{failed});
    });
  return ZVCall(call);
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

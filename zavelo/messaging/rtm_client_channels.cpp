#include <utility>

#include "zavelo/core/log.hpp"
#include "zavelo/messaging/rtm_call_internal.hpp"
#include "zavelo/messaging/rtm_client.hpp"
#include "zavelo/messaging/rtm_names_internal.hpp"

// A client's channels, and what it sends.

namespace zavelo {

void ZVRTMClient::joinChannel(const std::string& channelId,
                              std::weak_ptr<AgoraRtmChannelDelegate> delegate, Success success,
                              Fail fail, const AgoraRtmJoinOptions& options) {
  constexpr const char* function = "joinChannel(_:delegate:success:fail:)";
  const auto channel = kit()->createChannel(channelId, std::move(delegate));
  if (!channel)
    return detail::reportRtm(ZVError::rtm("Create Channel Failed"), fail, ZVLogPosition(function));
  changeStatus([&](ZVRTMStatus& status) {
    const auto [entry, isNew] = status.channels.try_emplace(channelId);
    const bool isFresh = isNew || entry->second.state == AgoraRtmChannelState::givenUp;
    if (isFresh) entry->second = {AgoraRtmChannelState::joining, with_.clock->now()};
    return isFresh;
  });
  const auto noting = [weak = weak_from_this(), channelId](bool isJoined) {
    if (const auto self = weak.lock()) self->noteJoin(channelId, isJoined);
  };
  auto completion = detail::rtmCompletion(
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
              detail::rtmCompletion(weak_from_this(),
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
  found.value()->send(
      message, detail::rtmCompletion(weak_from_this(),
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

ZVCall ZVRTMClient::write(const std::string& channelId, const std::string& message,
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

ZVCall ZVRTMClient::listMembers(const std::string& channelId,
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

}  // namespace zavelo

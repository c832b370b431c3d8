#include "zavelo/messaging/rtm_service.hpp"

#include <utility>

#include "zavelo/core/notifications.hpp"
#include "zavelo/messaging/rtm_call_internal.hpp"

namespace zavelo {

std::shared_ptr<ZVRTMService> ZVRTMService::create(ZVRTMClient::Collaborators collaborators) {
  std::shared_ptr<ZVRTMService> service(new ZVRTMService(std::move(collaborators)));
  service->rtmClient_->setDelegate(service);
  return service;
}

ZVRTMService::ZVRTMService(ZVRTMClient::Collaborators collaborators)
    : mainQueue_(collaborators.mainQueue),
      notifications_(collaborators.notifications),
      rtmClient_(ZVRTMClient::create(std::move(collaborators))) {}

void ZVRTMService::connect(Success success) {
  rtmClient_->login(std::move(success), retryUntilSuccess);
}

void ZVRTMService::disconnect() {
  rtmClient_->logout();
}

bool ZVRTMService::isConnected() const {
  return rtmClient_->connectStatus() == rtmState::connected;
}

void ZVRTMService::joinChannel(const std::string& channelId, Success success, Fail fail) {
  rtmClient_->joinChannel(channelId, rtmClient_, std::move(success), std::move(fail));
}

void ZVRTMService::leaveChannel(const std::string& channelId, bool shouldDestroyChannel) {
  rtmClient_->leaveChannel(channelId, shouldDestroyChannel);
}

void ZVRTMService::writeChannel(const std::string& channelId, const std::string& message,
                                Success success, Fail fail) {
  rtmClient_->writeChannel(channelId, message, std::move(success), std::move(fail));
}

void ZVRTMService::write(const std::string& message, const std::string& peerId, Success success,
                         Fail fail) {
  rtmClient_->send(message, peerId, std::move(success), std::move(fail));
}

void ZVRTMService::getMembersOfChannel(const std::string& channel, Members success) {
  rtmClient_->getMembersOfChannel(channel, std::move(success));
}

void ZVRTMService::joinChannel(const std::string& channelId, const AgoraRtmJoinOptions& options,
                               Success success, Fail fail) {
  rtmClient_->joinChannel(channelId, rtmClient_, std::move(success), std::move(fail), options);
}

template <class Begin>
ZVRTMCall<std::monostate> ZVRTMService::callbackCall(Completion<std::monostate> completion,
                                                     Begin begin) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](auto answer) {
    const auto call =
        std::make_shared<detail::RtmCall<std::monostate>>(mainQueue_, std::move(answer));
    begin([call] { call->answer(std::monostate()); },
          [call](const ZVError& error) { call->answer(Failure{error}); });
    return ZVCall(call);
  });
}

ZVRTMCall<std::monostate> ZVRTMService::connect(Completion<std::monostate> completion) {
  return callbackCall(std::move(completion),
                      [&](Success success, const Fail&) { connect(std::move(success)); });
}

ZVRTMCall<std::monostate> ZVRTMService::joinChannel(const std::string& channelId,
                                                    Completion<std::monostate> completion) {
  return joinChannel(channelId, AgoraRtmJoinOptions(), std::move(completion));
}

ZVRTMCall<std::monostate> ZVRTMService::joinChannel(const std::string& channelId,
                                                    const AgoraRtmJoinOptions& options,
                                                    Completion<std::monostate> completion) {
  return callbackCall(std::move(completion), [&](Success success, Fail fail) {
    joinChannel(channelId, options, std::move(success), std::move(fail));
  });
}

ZVRTMCall<std::monostate> ZVRTMService::write(const std::string& message, const std::string& peerId,
                                              Completion<std::monostate> completion) {
  return callbackCall(std::move(completion), [&](Success success, Fail fail) {
    write(message, peerId, std::move(success), std::move(fail));
  });
}

ZVRTMCall<std::monostate> ZVRTMService::writeChannel(const std::string& channelId,
                                                     const std::string& message,
                                                     Completion<std::monostate> completion) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](auto answer) {
    return rtmClient_->writeChannel(channelId, message, std::move(answer));
  });
}

ZVRTMCall<std::vector<std::string>> ZVRTMService::listMembers(
    const std::string& channel, Completion<std::vector<std::string>> completion) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](auto answer) {
    return rtmClient_->getMembersOfChannel(channel, std::move(answer));
  });
}

ZVRTMCall<AgoraRtmMemberCount> ZVRTMService::countMembersOfChannel(
    const std::string& channel, Completion<AgoraRtmMemberCount> completion) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](auto answer) {
    return rtmClient_->countMembersOfChannel(channel, std::move(answer));
  });
}

void ZVRTMService::didReceiveChannelMessage(const std::string& channelId, const std::string& text) {
  didReceiveChannelMessageFrom({}, channelId, text);
}

void ZVRTMService::didReceiveChannelMessageFrom(const std::string& senderId,
                                                const std::string& channelId,
                                                const std::string& text) {
  {
    const std::lock_guard lock(countersMutex_);
    ++counters_.channelTexts;
  }
  notifications_->post(ZaveloDidReceiveChannelMessage,
                       {{"message", ZVRTMChannelMessage{channelId, text, senderId}}});
}

ZVRTMCounters ZVRTMService::counters() const {
  const std::lock_guard lock(countersMutex_);
  return counters_;
}

void ZVRTMService::count(const ZVRTMStatus& status) {
  const std::lock_guard lock(countersMutex_);
  counters_.droppedTexts = status.droppedTexts;
  if (status.state == rtmState::connected && last_.state != rtmState::connected)
    counters_.reconnects += std::exchange(wasConnected_, true) ? 1 : 0;
  for (const auto& [id, channel] : status.channels) {
    const auto before = last_.channels.find(id);
    if (before != last_.channels.end() && before->second.state == channel.state) continue;
    counters_.interruptions += channel.state == AgoraRtmChannelState::interrupted ? 1 : 0;
    counters_.givenUp += channel.state == AgoraRtmChannelState::givenUp ? 1 : 0;
  }
  last_ = status;
}

void ZVRTMService::statusChanged(const ZVRTMStatus& status) {
  count(status);
  notifications_->post(ZaveloRTMStatusDidChange, {{"status", status}});
}

void ZVRTMService::didReceivePeerMessage(const std::string& peerId, const std::string& text) {
  {
    const std::lock_guard lock(countersMutex_);
    ++counters_.peerTexts;
  }
  notifications_->post(ZaveloDidReceivePeerMessage, {{"message", ZVRTMPeerMessage{peerId, text}}});
}

// One name for both: apps tell them apart by the channel's members.
void ZVRTMService::memberJoined(const std::string& channelId, const std::string& userId) {
  notifications_->post(ZaveloUserDidLeaveChannel,
                       {{"user", ZVRTMChannelMember{channelId, userId}}});
}

void ZVRTMService::memberLeft(const std::string& channelId, const std::string& userId) {
  memberJoined(channelId, userId);
}

}  // namespace zavelo

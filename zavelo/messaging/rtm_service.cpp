#include "zavelo/messaging/rtm_service.hpp"

#include <utility>

#include "zavelo/core/notifications.hpp"

namespace zavelo {

std::shared_ptr<ZVRTMService> ZVRTMService::create(ZVRTMClient::Collaborators collaborators) {
  std::shared_ptr<ZVRTMService> service(new ZVRTMService(std::move(collaborators)));
  service->rtmClient_->setDelegate(service);
  return service;
}

ZVRTMService::ZVRTMService(ZVRTMClient::Collaborators collaborators)
    : notifications_(collaborators.notifications),
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

ZVCall ZVRTMService::countMembersOfChannel(
    const std::string& channel, ZVRTMClient::Completion<AgoraRtmMemberCount> completion) {
  return rtmClient_->countMembersOfChannel(channel, std::move(completion));
}

void ZVRTMService::didReceiveChannelMessage(const std::string& channelId, const std::string& text) {
  didReceiveChannelMessageFrom({}, channelId, text);
}

void ZVRTMService::didReceiveChannelMessageFrom(const std::string& senderId,
                                                const std::string& channelId,
                                                const std::string& text) {
  notifications_->post(ZaveloDidReceiveChannelMessage,
                       {{"message", ZVRTMChannelMessage{channelId, text, senderId}}});
}

void ZVRTMService::statusChanged(const ZVRTMStatus& status) {
  notifications_->post(ZaveloRTMStatusDidChange, {{"status", status}});
}

void ZVRTMService::didReceivePeerMessage(const std::string& peerId, const std::string& text) {
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

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/engines/mqtt/channel_internal.hpp"
#include "zavelo/messaging/engines/mqtt/login_internal.hpp"
#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"
#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"

namespace zavelo::detail {

/// What a kit does, on its loop's thread: at most one login, and its channels. A channel outlasts
/// its login: it comes back with the next login of the same user.
class MqttSession final : public std::enable_shared_from_this<MqttSession> {
 public:
  explicit MqttSession(std::shared_ptr<MqttSurroundings> around);

  void login(std::optional<std::string> token, std::string userId, AgoraRtmCompletion completion);
  void logout(AgoraRtmCompletion completion);
  void send(const std::string& text, const std::string& peerId,
            const AgoraRtmCompletion& completion);

  void join(const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate,
            const AgoraRtmJoinOptions& options, const AgoraRtmCompletion& completion);
  void leave(const std::string& channelId, const AgoraRtmCompletion& completion);
  void sendToChannel(const std::string& channelId, const std::string& text,
                     const AgoraRtmCompletion& completion);
  void getMembers(const std::string& channelId, const AgoraRtmMembersCompletion& completion);
  void countMembers(const std::string& channelId, const AgoraRtmCountCompletion& completion);

  void suspend();
  void resume();
  void networkChanged();
  void setInBackground(bool isInBackground);

  void close();

 private:
  [[nodiscard]] bool isLoggedIn() const { return login_ && login_->isComplete(); }
  [[nodiscard]] MqttChannel::User user() const { return {login_->userId(), login_->token()}; }
  [[nodiscard]] std::shared_ptr<MqttChannel> joined(const std::string& channelId) const;
  MqttLogin::Reports reports();
  void startLogin();
  void heardState(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason);
  void settleLogin(std::int64_t code);
  void ended(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason);
  using ChannelsById = std::map<std::string, std::shared_ptr<MqttChannel>>;
  static void leaveAll(const ChannelsById& channels);
  void suspendChannels(const std::string& problem);
  void tell(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) const;

  const std::shared_ptr<MqttSurroundings> around_;
  std::shared_ptr<MqttLogin> login_;
  std::string lastUserId_;  // whose the channels are
  std::vector<AgoraRtmCompletion> entering_;
  ChannelsById channels_;
  MqttRetry pace_;
  MqttLoop::Clock::time_point notBefore_{};
};

}  // namespace zavelo::detail

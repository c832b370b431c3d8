#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/engines/mqtt/message_ids_internal.hpp"
#include "zavelo/messaging/engines/mqtt/presence_internal.hpp"
#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"
#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"

namespace zavelo::detail {

/// A logged-in user in a channel, from the join to the end: its connection, made again when it
/// breaks, and its texts. All of it is on the loop's thread.
class MqttChannel final : public MqttListener, public std::enable_shared_from_this<MqttChannel> {
 public:
  struct User {
    std::string id;
    std::optional<std::string> token;
  };

  MqttChannel(std::shared_ptr<MqttSurroundings> around, User user, std::string channelId,
              std::weak_ptr<AgoraRtmChannelDelegate> delegate, const AgoraRtmJoinOptions& options);

  /// Once. `code` is success, rejected, or failure; then it has ended.
  void join(AgoraRtmCompletion completion);
  void send(const std::string& text, const AgoraRtmCompletion& completion);
  void getMembers(AgoraRtmMembersCompletion completion);
  void countMembers(AgoraRtmCountCompletion completion);
  /// Called once by whoever holds it; `completion` may be empty.
  void leave(const AgoraRtmCompletion& completion);
  /// Not joined any more, as the broker refuses for good.
  void giveUp(const std::string& problem);

  /// The login is over, or suspended: goes quietly, and comes back when it is resumed. A join that
  /// was not complete has failed.
  void suspend(const std::string& problem);
  void resume(const User& user);
  void networkChanged();
  void paceChanged();

  [[nodiscard]] bool hasEnded() const noexcept { return ended_; }

  void connected() override;
  void received(const MqttMessage& message, bool isCut) override;
  void lost(const MqttLoss& loss) override;

 private:
  void connect();
  void connectAfter(std::chrono::milliseconds delay);
  /// What a broker answers to a request without which there is no join.
  MqttConnection::Answer step(void (MqttChannel::*next)());
  void proceed() {}
  void attached();
  void complete();
  void interrupt(const std::string& problem, std::chrono::milliseconds silence);
  void report(AgoraRtmChannelState state, const std::string& problem,
              std::chrono::milliseconds silence = {}) const;
  bool hasAllowance();
  void settleJoin(std::int64_t code);
  void end();

  const std::shared_ptr<MqttSurroundings> around_;
  User user_;
  const std::string channelId_;
  const std::weak_ptr<AgoraRtmChannelDelegate> delegate_;
  const AgoraRtmJoinOptions options_;

  std::shared_ptr<MqttConnection> connection_;
  MqttPresence presence_;
  MqttRetry retry_;
  std::optional<MqttLoop::Timer> retryTimer_;
  MqttMessageIds ids_;
  MqttRepeats repeats_;
  AgoraRtmCompletion joining_;
  bool joined_ = false;
  bool attached_ = false;     // texts arrive, on this connection
  bool interrupted_ = false;  // was reported, and not resumed since
  bool suspended_ = false;
  bool ended_ = false;

  double allowance_;  // texts that may be sent now
  MqttLoop::Clock::time_point allowanceTime_;
};

}  // namespace zavelo::detail

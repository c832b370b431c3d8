#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/engines/mqtt/claim_internal.hpp"
#include "zavelo/messaging/engines/mqtt/message_ids_internal.hpp"
#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"
#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"

namespace zavelo::detail {

/// One login of a user: its connection, made again when it breaks, its claim, and the user's inbox.
/// All of it is on the loop's thread.
class MqttLogin final : public MqttListener, public std::enable_shared_from_this<MqttLogin> {
 public:
  /// What the kit hears of it.
  struct Reports {
    std::function<void(AgoraRtmConnectionState, AgoraRtmConnectionChangeReason)> state;
    /// It has ended by itself, before it was complete or later.
    std::function<void(AgoraRtmConnectionState, AgoraRtmConnectionChangeReason)> ended;
  };

  MqttLogin(std::shared_ptr<MqttSurroundings> around, std::string userId,
            std::optional<std::string> token, Reports reports);

  /// Once.
  void start();
  void send(const std::string& text, const std::string& peerId,
            const AgoraRtmCompletion& completion);
  /// Hands the claim back. `done` is called when nobody reaches the user any more.
  void leave(std::function<void()> done);

  /// Closes the connection and keeps the claim, until it is resumed.
  void suspend();
  void resume();
  /// The network has changed: what is connected is probed, what waits for a retry connects.
  void networkChanged();
  void paceChanged();

  [[nodiscard]] bool isComplete() const noexcept { return complete_; }
  [[nodiscard]] const std::string& userId() const noexcept { return userId_; }
  [[nodiscard]] const std::optional<std::string>& token() const noexcept { return token_; }

  void connected() override;
  void received(const MqttMessage& message, bool isCut) override;
  void lost(const MqttLoss& loss) override;

 private:
  void connect();
  void connectAfter(std::chrono::milliseconds delay);
  /// What a step of the login must be answered with.
  MqttConnection::Answer step(void (MqttLogin::*next)());
  void claim();
  void publishClaim();
  void claimed();
  void renewClaimLater();
  void heardClaim(const std::string& payload);
  void refused(const MqttLoss& loss);
  void drop();
  void end(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason);
  [[nodiscard]] std::string claimTopic() const;

  const std::shared_ptr<MqttSurroundings> around_;
  const std::string userId_;
  const std::optional<std::string> token_;
  Reports reports_;

  std::shared_ptr<MqttConnection> connection_;
  MqttRetry retry_;
  std::optional<MqttLoop::Timer> retryTimer_;
  MqttMessageIds ids_;
  MqttRepeats repeats_;
  MqttClaim own_;
  std::optional<MqttClaim> seen_;  // before the own one was published on this connection
  std::optional<MqttLoop::Clock::time_point> firstClaim_;
  bool claimsAgain_ = true;  // above a greater claim that comes soon after the first own one
  bool claims_ = false;      // on this connection
  bool complete_ = false;    // has been logged in
  bool connected_ = false;   // is logged in now
  bool suspended_ = false;
  bool tokenExpired_ = false;  // was reported, and no login has succeeded since
};

}  // namespace zavelo::detail

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"
#include "zavelo/messaging/engines/mqtt/roster_internal.hpp"
#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"

namespace zavelo::detail {

/// A logged-in user in a channel, from the join to the end. All of it is on the loop's thread.
///
/// What one says to oneself comes back behind all that stood there before: what was numbered and
/// published has been a fence when this number is heard.
class MqttChannel final : public MqttListener, public std::enable_shared_from_this<MqttChannel> {
 public:
  struct User {
    std::string id;
    std::optional<std::string> token;
  };

  MqttChannel(std::shared_ptr<MqttSurroundings> around, User user, std::string channelId,
              std::weak_ptr<AgoraRtmChannelDelegate> delegate);

  /// Once. `code` is success, rejected, or failure; then it has ended.
  void join(AgoraRtmCompletion completion);
  void send(const std::string& text, const AgoraRtmCompletion& completion);
  void getMembers(AgoraRtmMembersCompletion completion);
  /// Called once by whoever holds it; `completion` may be empty.
  void leave(const AgoraRtmCompletion& completion);
  [[nodiscard]] bool hasEnded() const noexcept { return ended_; }

  void connected() override;
  void received(const std::string& topic, const std::string& payload) override;
  void lost(MqttLoss loss) override;

 private:
  /// How far the list of members has been read, on this connection.
  enum class Reading { ownShard, allShards, done };

  [[nodiscard]] std::string shardFilter() const;
  [[nodiscard]] std::string allShardsFilter() const;
  [[nodiscard]] std::string presence() const;
  [[nodiscard]] bool isOfOwnShard(const std::string& userId) const;
  void connect();
  /// What a broker answers to a request without which there is no join.
  MqttConnection::Answer refusal();
  [[nodiscard]] std::string fenceTopic() const;
  void announce();
  void setFence();
  void heardPresence(const std::string& userId, const std::string& session,
                     const std::string& payload);
  void heardFence();
  void readAllShards();
  void finishReading();
  void hearOwnShardOnly();
  void finishListing(bool isComplete);
  void removeDoubtedLater();
  void settleJoin(std::int64_t code);
  void end();
  void tellMember(void (AgoraRtmChannelDelegate::*what)(const std::string&, const std::string&),
                  const std::string& userId);

  const std::shared_ptr<MqttSurroundings> around_;
  const User user_;
  const std::string channelId_;
  const std::weak_ptr<AgoraRtmChannelDelegate> delegate_;

  std::shared_ptr<MqttConnection> connection_;
  std::string session_;  // a new one each connection: an old one's will does not end the new one
  MqttRetry retry_;
  AgoraRtmCompletion joining_;
  bool joined_ = false;
  bool ended_ = false;

  Reading reading_ = Reading::ownShard;
  std::uint64_t fence_ = 0;
  bool hearsAllShards_ = false;
  MqttRoster roster_;
  /// While the whole list of a large channel is being fetched.
  MqttRoster listing_;
  std::vector<AgoraRtmMembersCompletion> listed_;
};

}  // namespace zavelo::detail

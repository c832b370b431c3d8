#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/engines/mqtt/list_reader_internal.hpp"
#include "zavelo/messaging/engines/mqtt/roster_internal.hpp"
#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::detail {

/// Who is in a channel: the user's own entry, the others', and the lists of members. Belongs to a
/// channel, which has the connection. All of it is on the loop's thread.
///
/// A broker that delivers its retained messages late makes a first list too short, and no more than
/// that: what is late joins the roster, and only what is still missing after a while leaves it.
class MqttPresence {
 public:
  using Connection = std::shared_ptr<MqttConnection>;

  MqttPresence(std::shared_ptr<MqttSurroundings> around, std::string userId, std::string channelId,
               std::weak_ptr<AgoraRtmChannelDelegate> delegate);

  /// Before a connection is opened; returns its will's topic. Each connection has a session of its
  /// own, so that the will of a former one does not end it.
  std::string beginSession();
  /// Writes the own entry, reads who is there already, and begins to follow the others.
  void announce(const Connection& connection, MqttConnection::Answer answer);
  /// Once the broker reports who comes from now on; at once where it is not asked to yet, as the
  /// channel is large or many come together.
  void whenFollowing(MqttConnection::Answer answer);
  /// The channel is joined: who comes from now on is told.
  void tellFromNowOn() { tells_ = true; }
  /// The connection is lost, or about to be closed.
  void endSession();
  /// Empties the own entry, and closes the connection then.
  void depart(const Connection& connection, std::function<void()> departed = {}) const;

  void list(const Connection& connection, AgoraRtmMembersCompletion completion);
  void count(const Connection& connection, AgoraRtmCountCompletion completion);

  void received(const MqttTopic& topic, const MqttMessage& message);

 private:
  [[nodiscard]] std::string topic() const;
  [[nodiscard]] std::string allFilter() const;
  [[nodiscard]] bool isInOwnShard(const std::string& userId) const;
  [[nodiscard]] std::size_t estimate(const MqttRoster& ownShard) const;
  void publishEntry(MqttConnection::Answer answer);
  void renewLater();
  void readOwnShard();
  void assess(const MqttRoster& ownShard, std::uint64_t reading);
  void finishReading(bool isWhole, std::uint64_t reading);
  /// Members whom a list does not have, and who do not appear for a while after it, have left.
  void dropUnseenLater(bool isWhole, std::uint64_t reading);
  void dropExpiredLater();
  void correctLater();
  void heardEntry(const MqttTopic& topic, const MqttMessage& message);
  void heardOwnEntry(const MqttTopic& topic, bool isEmpty);
  void followOwnShardOnly();
  bool isRush();
  void stopFollowingAll();
  void tellMember(void (AgoraRtmChannelDelegate::*what)(const std::string&, const std::string&),
                  const std::string& userId) const;
  /// Runs later, unless the session has ended by then.
  void later(std::chrono::milliseconds delay, std::function<void()> task);

  const std::shared_ptr<MqttSurroundings> around_;
  const std::string userId_, channelId_;
  const std::weak_ptr<AgoraRtmChannelDelegate> delegate_;

  Connection connection_;  // as long as the session lasts
  std::string session_;
  std::shared_ptr<int> sessionLife_;  // what is to run later holds it weakly
  bool announces_ = false;            // has an entry of its own, and follows the others'
  bool tells_ = false;                // what is news
  bool tellsFresh_ = false;           // also in the first list: the join did not wait for it
  bool hasRead_ = false;              // once: what is listed is news
  bool followsAll_ = false;
  bool isAskingToFollow_ = false;  // everybody, without an answer yet
  MqttConnection::Answer following_;
  bool isRushed_ = false;  // more come and go than can be followed
  bool isCorrected_ = false, isCorrectionDue_ = false, isExpiryDue_ = false;
  MqttLoop::Clock::time_point rushBegin_{};
  std::size_t rushCount_ = 0, freshCount_ = 0;
  MqttRoster roster_;
  MqttListReader lists_;
  std::set<std::string> untold_;   // sessions that the first reading listed, for a while
  std::set<std::string> emptied_;  // sessions of this user whose entries were left behind
};

}  // namespace zavelo::detail

#include "zavelo/messaging/engines/mqtt/presence_internal.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"

namespace zavelo::detail {
namespace {

/// The list is read again in this time after a join, not by all who joined together at once.
constexpr std::chrono::milliseconds correctionBegin{2'000}, correctionEnd{8'000};

constexpr std::size_t mostEmptied = 64;
constexpr std::chrono::seconds rushTime{1};
constexpr std::size_t mostInRush = 40;
/// Entries of the own shard that came in the last seconds before a join: one speaks for 64 users.
constexpr std::chrono::seconds freshTime{2};
constexpr std::size_t mostFresh = 1;

std::chrono::milliseconds correctionTime() {
  static thread_local std::minstd_rand random{std::random_device{}()};
  return std::chrono::milliseconds(
      std::uniform_int_distribution(correctionBegin.count(), correctionEnd.count())(random));
}

}  // namespace

MqttPresence::MqttPresence(std::shared_ptr<MqttSurroundings> around, std::string userId,
                           std::string channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate)
    : around_(std::move(around)),
      userId_(std::move(userId)),
      channelId_(std::move(channelId)),
      delegate_(std::move(delegate)),
      lists_(*around_->loop, around_->options.sendTimeout,
             [this](bool isWhole) { return isWhole ? followsAll_ : announces_; }) {}

std::string MqttPresence::topic() const {
  return mqttPresenceTopic(around_->appId, channelId_, userId_, session_);
}

std::string MqttPresence::allFilter() const {
  return mqttPresenceFilter(around_->appId, channelId_, std::nullopt);
}

bool MqttPresence::isInOwnShard(const std::string& userId) const {
  return mqttShard(userId) == mqttShard(userId_);
}

/// Users are spread evenly, so that one part tells about the whole.
std::size_t MqttPresence::estimate(const MqttRoster& ownShard) const {
  return ownShard.size() * mqttShardCount;
}

// ---- the own entry ----

std::string MqttPresence::beginSession() {
  session_ = randomMqttSession();
  sessionLife_ = std::make_shared<int>();
  followsAll_ = isAskingToFollow_ = isRushed_ = false;
  isCorrected_ = isCorrectionDue_ = isExpiryDue_ = false;
  lists_.begin({allFilter(), mqttPresenceFilter(around_->appId, channelId_, mqttShard(userId_)),
                mqttFenceTopic(around_->appId, channelId_, userId_, session_)});
  untold_.clear();
  return topic();
}

void MqttPresence::announce(const Connection& connection, MqttConnection::Answer answer) {
  connection_ = connection;
  announces_ = true;
  publishEntry(std::move(answer));
  renewLater();
  readOwnShard();
}

void MqttPresence::publishEntry(MqttConnection::Answer answer) {
  connection_->publish(
      {.topic = topic(), .payload = "1", .retain = true, .expiry = around_->options.retainedExpiry},
      std::move(answer));
}

void MqttPresence::renewLater() {
  later(around_->options.retainedExpiry / 2, [this] {
    publishEntry({});
    renewLater();
  });
}

void MqttPresence::later(std::chrono::milliseconds delay, std::function<void()> task) {
  around_->loop->after(delay, [life = std::weak_ptr(sessionLife_), task = std::move(task)] {
    if (!life.expired()) task();
  });
}

void MqttPresence::depart(const Connection& connection, std::function<void()> departed) const {
  // The last that holds the connection: it says goodbye when the others can know.
  connection->publish({.topic = topic(), .retain = true},
                      [connection, departed = std::move(departed)](int) {
                        connection->close();
                        if (departed) departed();
                      });
}

void MqttPresence::endSession() {
  connection_ = nullptr;
  sessionLife_ = nullptr;
  following_ = {};
  lists_.end();
}

// ---- lists ----

void MqttPresence::readOwnShard() {
  freshCount_ = 0;
  lists_.read(connection_,
              {false, [this, reading = roster_.beginReading()](const MqttRoster* seen) {
                 if (seen) return assess(*seen, reading);
                 if (connection_) correctLater();
               }});
}

/// Follows everybody in a small channel, and the own shard in a large one and while many join.
void MqttPresence::assess(const MqttRoster& ownShard, std::uint64_t reading) {
  const bool isLarge = estimate(ownShard) > around_->options.memberEventsCap;
  if (isLarge) followOwnShardOnly();
  if (!isCorrected_ && freshCount_ > mostFresh) isRushed_ = true;
  if (isLarge || isRushed_) return finishReading(false, reading);
  followsAll_ = isAskingToFollow_ = true;
  lists_.read(connection_, {true,
                            [this, reading](const MqttRoster* all) {
                              if (all) return finishReading(true, reading);
                              if (connection_) correctLater();
                            },
                            [this](int reason) {
                              isAskingToFollow_ = false;
                              const auto answer = std::exchange(following_, {});
                              if (answer) answer(std::min(reason, 0));
                            }});
}

void MqttPresence::finishReading(bool isWhole, std::uint64_t reading) {
  hasRead_ = true;
  dropUnseenLater(isWhole, reading);
  if (!std::exchange(isCorrected_, true)) correctLater();
}

void MqttPresence::dropUnseenLater(bool isWhole, std::uint64_t reading) {
  later(around_->options.leftGrace, [this, isWhole, reading] {
    untold_.clear();
    const auto isMeant = [&](const std::string& userId) { return isWhole || isInOwnShard(userId); };
    for (const auto& userId : roster_.removeUnseenSince(reading, isMeant))
      tellMember(&AgoraRtmChannelDelegate::memberLeft, userId);
  });
}

/// A broker forgets an expired entry without a message: its members have to do so themselves.
void MqttPresence::dropExpiredLater() {
  if (isExpiryDue_) return;
  const auto next = roster_.nextExpiry();
  if (next == MqttRoster::never) return;
  isExpiryDue_ = true;
  const auto delay = std::chrono::ceil<std::chrono::milliseconds>(next - MqttLoop::Clock::now());
  later(std::max(delay, std::chrono::milliseconds(0)), [this] {
    isExpiryDue_ = false;
    for (const auto& userId : roster_.removeExpired(MqttLoop::Clock::now()))
      tellMember(&AgoraRtmChannelDelegate::memberLeft, userId);
    dropExpiredLater();
  });
}

/// Reads the list once more: a message may have been lost, and many may have come at once.
void MqttPresence::correctLater() {
  if (std::exchange(isCorrectionDue_, true)) return;
  later(correctionTime(), [this] {
    isCorrectionDue_ = isRushed_ = false;
    readOwnShard();
  });
}

void MqttPresence::whenFollowing(MqttConnection::Answer answer) {
  if (!isAskingToFollow_) {
    tellsFresh_ = !hasRead_;
    return answer(0);
  }
  following_ = std::move(answer);
}

void MqttPresence::list(const Connection& connection, AgoraRtmMembersCompletion completion) {
  connection_ = connection;
  lists_.read(connection, {true, [this, reading = roster_.beginReading(),
                                  completion = std::move(completion)](const MqttRoster* seen) {
                             if (!seen) return around_->tell(completion, std::nullopt);
                             auto all = *seen;
                             if (followsAll_) {
                               all.addAll(roster_);  // what is late is not lost
                               dropUnseenLater(true, reading);
                             }
                             if (announces_) all.add(userId_, session_);
                             around_->tell(completion, all.userIds());
                           }});
}

void MqttPresence::count(const Connection& connection, AgoraRtmCountCompletion completion) {
  connection_ = connection;
  lists_.read(
      connection,
      {false, [this, completion = std::move(completion)](const MqttRoster* seen) {
         if (!seen) return around_->tell(completion, std::nullopt);
         const auto members = seen->size();
         if (estimate(*seen) > around_->options.memberEventsCap) {
           // Each user is in this shard with the probability p = 1/64: two standard deviations.
           const auto error = 2 * mqttShardCount * std::sqrt(static_cast<double>(members));
           return around_->tell(
               completion, AgoraRtmMemberCount{estimate(*seen), static_cast<std::size_t>(error)});
         }
         lists_.read(connection_,
                     {true, [this, completion](const MqttRoster* all) {
                        around_->tell(
                            completion,
                            all ? std::optional(AgoraRtmMemberCount{all->size()}) : std::nullopt);
                      }});
       }});
}

// ---- what comes in ----

void MqttPresence::received(const MqttTopic& topic, const MqttMessage& message) {
  if (!connection_) return;
  if (topic.kind == MqttTopic::Kind::presence) return heardEntry(topic, message);
  if (topic.kind == MqttTopic::Kind::fence) lists_.hearFence(message.payload);
}

void MqttPresence::heardEntry(const MqttTopic& topic, const MqttMessage& message) {
  const bool isEmpty = message.payload.empty();
  if (topic.userId == userId_) return heardOwnEntry(topic, isEmpty);
  lists_.hearEntry(topic.userId, topic.session, isInOwnShard(topic.userId), isEmpty);
  const bool isFresh =
      message.expiry && *message.expiry + freshTime >= around_->options.retainedExpiry;
  if (isFresh) ++freshCount_;
  if (!announces_ || (!followsAll_ && !isInOwnShard(topic.userId))) return;
  const auto expires = message.expiry
                           ? MqttLoop::Clock::now() + *message.expiry + around_->options.leftGrace
                           : MqttRoster::never;
  const bool isNews = isEmpty ? roster_.remove(topic.userId, topic.session)
                              : roster_.add(topic.userId, topic.session, expires);
  if (expires != MqttRoster::never) dropExpiredLater();
  // Somewhat more than the cap, so that a channel of about that size does not go back and forth.
  const auto cap = around_->options.memberEventsCap;
  if (followsAll_ && roster_.size() > cap + cap / 4) followOwnShardOnly();
  if (followsAll_ && !message.retain && isRush()) stopFollowingAll();
  // Members from before the join are listed, and not told. But a broker may list an entry before it
  // delivers it: a member whose message then comes has joined now.
  if (message.retain && !hasRead_ && !(tellsFresh_ && isFresh)) {
    if (isNews && !isEmpty) untold_.insert(topic.session);
    return;
  }
  const bool isToldNow = !message.retain && untold_.erase(topic.session) > 0 && !isEmpty;
  if ((!isNews && !isToldNow) || !tells_) return;
  tellMember(
      isEmpty ? &AgoraRtmChannelDelegate::memberLeft : &AgoraRtmChannelDelegate::memberJoined,
      topic.userId);
}

void MqttPresence::heardOwnEntry(const MqttTopic& topic, bool isEmpty) {
  const bool isThisSession = topic.session == session_;
  if (isThisSession && isEmpty) return publishEntry({});  // somebody swept too widely
  if (isThisSession) lists_.hearEntry(userId_, session_, true, false);
  if (isThisSession || isEmpty) return;
  // A former session's, whose will was lost. Once each: another device's may be alive for a moment.
  if (emptied_.size() == mostEmptied) emptied_.clear();
  if (!emptied_.insert(topic.session).second) return;
  connection_->publish(
      {.topic = mqttPresenceTopic(around_->appId, channelId_, userId_, topic.session),
       .retain = true},
      {});
}

/// Everybody who came would be told to everybody: too much for a large channel.
void MqttPresence::followOwnShardOnly() {
  if (followsAll_) connection_->unsubscribe(allFilter());
  followsAll_ = false;
  roster_.removeIf([this](const std::string& userId) { return !isInOwnShard(userId); });
}

/// Whether so many come or go at once that following them would keep everybody else from coming.
bool MqttPresence::isRush() {
  const auto now = MqttLoop::Clock::now();
  if (now > rushBegin_ + rushTime) rushBegin_ = now, rushCount_ = 0;
  return ++rushCount_ > mostInRush;
}

/// Until it has calmed down: who came meanwhile is told when the list is read again.
void MqttPresence::stopFollowingAll() {
  followsAll_ = false;
  isRushed_ = true;
  connection_->unsubscribe(allFilter());
  correctLater();
}

void MqttPresence::tellMember(void (AgoraRtmChannelDelegate::*what)(const std::string&,
                                                                    const std::string&),
                              const std::string& userId) const {
  const auto delegate = around_->isGone ? nullptr : delegate_.lock();
  if (delegate) ((*delegate).*what)(channelId_, userId);
}

}  // namespace zavelo::detail

#include "zavelo/messaging/engines/mqtt/channel_internal.hpp"

#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::detail {

MqttChannel::MqttChannel(std::shared_ptr<MqttSurroundings> around, User user, std::string channelId,
                         std::weak_ptr<AgoraRtmChannelDelegate> delegate)
    : around_(std::move(around)),
      user_(std::move(user)),
      channelId_(std::move(channelId)),
      delegate_(std::move(delegate)),
      retry_(around_->options.firstRetry, around_->options.longestRetry) {}

std::string MqttChannel::presence() const {
  return mqttPresenceTopic(around_->appId, channelId_, user_.id, session_);
}

std::string MqttChannel::fenceTopic() const {
  return mqttFenceTopic(around_->appId, channelId_, user_.id, session_);
}

std::string MqttChannel::shardFilter() const {
  return mqttPresenceFilter(around_->appId, channelId_, mqttShard(user_.id));
}

std::string MqttChannel::allShardsFilter() const {
  return mqttPresenceFilter(around_->appId, channelId_, std::nullopt);
}

bool MqttChannel::isOfOwnShard(const std::string& userId) const {
  return mqttShard(userId) == mqttShard(user_.id);
}

void MqttChannel::join(AgoraRtmCompletion completion) {
  joining_ = std::move(completion);
  around_->loop->after(around_->options.joinTimeout, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->joined_) self->settleJoin(rtmCode::failure);
  });
  connect();
}

void MqttChannel::connect() {
  session_ = randomMqttSession();
  reading_ = Reading::ownShard;
  hearsAllShards_ = false;
  roster_.doubtAll();
  connection_ = MqttConnection::open(
      *around_->loop, around_->planFor(user_.id, user_.token, presence()), weak_from_this());
}

void MqttChannel::connected() {
  // Texts come behind the list of members, and are acknowledged. A list of thousands would fill the
  // window of what may be on its way unacknowledged, and a broker's queue behind it.
  connection_->subscribe(shardFilter(), 0, MqttConnection::Echo::all, refusal());
  connection_->subscribe(mqttChannelFilter(around_->appId, channelId_), 1,
                         MqttConnection::Echo::othersOnly, refusal());
  // Nobody else hears it, and it comes through the same queue as the lists.
  connection_->subscribe(fenceTopic(), 0, MqttConnection::Echo::all, refusal());
  announce();
  setFence();
}

MqttConnection::Answer MqttChannel::refusal() {
  return [weak = weak_from_this()](int reason) {
    const auto self = weak.lock();
    if (self && !self->joined_ && !self->ended_ && reason >= 0x80)
      self->settleJoin(rtmCode::rejected);
  };
}

void MqttChannel::announce() {
  connection_->publish(presence(), "1", true, refusal());
}

void MqttChannel::setFence() {
  connection_->publish(fenceTopic(), std::to_string(++fence_), false, refusal());
}

void MqttChannel::received(const std::string& topic, const std::string& payload) {
  const auto parsed = parsedMqttTopic(topic);
  if (!parsed || parsed->appId != around_->appId || parsed->channelId != channelId_) return;
  if (parsed->kind == MqttTopic::Kind::presence) {
    heardPresence(parsed->userId, parsed->session, payload);
  } else if (parsed->kind == MqttTopic::Kind::fence) {
    if (payload == std::to_string(fence_)) heardFence();
  } else if (parsed->kind == MqttTopic::Kind::channelText && !around_->isGone) {
    if (const auto delegate = delegate_.lock())
      delegate->channelMessageReceived(channelId_, payload, parsed->userId);
  }
}

void MqttChannel::heardPresence(const std::string& userId, const std::string& session,
                                const std::string& payload) {
  if (!listed_.empty() && !payload.empty()) listing_.add(userId, session);
  if (!listed_.empty() && payload.empty()) listing_.remove(userId, session);
  if (session == session_) {
    roster_.add(userId, session);
    if (payload.empty()) return announce();  // somebody swept too widely
    return;
  }
  if (!hearsAllShards_ && !isOfOwnShard(userId)) return;
  const bool isGone = payload.empty();
  const bool isNews = isGone ? roster_.remove(userId, session) : roster_.add(userId, session);
  if (!isNews || !joined_ || userId == user_.id) return;
  tellMember(isGone ? &AgoraRtmChannelDelegate::memberLeft : &AgoraRtmChannelDelegate::memberJoined,
             userId);
  // Somewhat more than the cap, so that a channel of about that size does not go back and forth.
  const auto cap = around_->options.memberEventsCap;
  if (hearsAllShards_ && roster_.size() > cap + cap / 4) hearOwnShardOnly();
}

void MqttChannel::heardFence() {
  if (reading_ == Reading::done) return finishListing(true);
  // Users are spread evenly, so that one part tells about the whole.
  if (reading_ == Reading::ownShard &&
      roster_.size() * mqttShardCount <= around_->options.memberEventsCap)
    return readAllShards();
  finishReading();
}

void MqttChannel::readAllShards() {
  reading_ = Reading::allShards;
  hearsAllShards_ = true;
  connection_->subscribe(allShardsFilter(), 0, MqttConnection::Echo::all, {});
  connection_->unsubscribe(shardFilter());
  setFence();
}

void MqttChannel::finishReading() {
  reading_ = Reading::done;
  retry_.reset();
  if (!joined_) {
    joined_ = true;
    settleJoin(rtmCode::success);
  }
  removeDoubtedLater();
}

/// Everybody who came would be told to everybody: too much for a large channel.
void MqttChannel::hearOwnShardOnly() {
  hearsAllShards_ = false;
  connection_->subscribe(shardFilter(), 0, MqttConnection::Echo::all, {});
  connection_->unsubscribe(allShardsFilter());
  roster_.removeIf([this](const std::string& userId) { return !isOfOwnShard(userId); });
}

void MqttChannel::removeDoubtedLater() {
  around_->loop->after(around_->options.leftGrace, [weak = weak_from_this(), session = session_] {
    const auto self = weak.lock();
    if (!self || self->ended_ || self->session_ != session) return;
    for (const auto& userId : self->roster_.removeDoubted())
      self->tellMember(&AgoraRtmChannelDelegate::memberLeft, userId);
  });
}

void MqttChannel::tellMember(void (AgoraRtmChannelDelegate::*what)(const std::string&,
                                                                   const std::string&),
                             const std::string& userId) {
  const auto delegate = delegate_.lock();
  if (delegate && !around_->isGone) ((*delegate).*what)(channelId_, userId);
}

void MqttChannel::send(const std::string& text, const AgoraRtmCompletion& completion) {
  if (!joined_ || reading_ != Reading::done) return around_->tell(completion, rtmCode::failure);
  connection_->publish(mqttChannelTopic(around_->appId, channelId_, user_.id), text, false,
                       [around = around_, completion](int reason) {
                         around->tell(completion, MqttConnection::isGood(reason) ? rtmCode::success
                                                  : reason < 0                   ? rtmCode::failure
                                                               : rtmCode::rejected);
                       });
}

void MqttChannel::getMembers(AgoraRtmMembersCompletion completion) {
  if (!joined_ || reading_ != Reading::done) return around_->tell(completion, std::nullopt);
  if (hearsAllShards_) return around_->tell(completion, roster_.userIds());
  listed_.push_back(std::move(completion));
  if (listed_.size() > 1) return;
  listing_ = {};
  connection_->subscribe(allShardsFilter(), 0, MqttConnection::Echo::all, {});
  setFence();
}

void MqttChannel::finishListing(bool isComplete) {
  const auto listed = std::exchange(listed_, {});
  if (listed.empty()) return;
  if (connection_ && !hearsAllShards_) connection_->unsubscribe(allShardsFilter());
  const auto all = std::exchange(listing_, {});
  for (const auto& completion : listed)
    around_->tell(completion, isComplete ? std::optional(all.userIds()) : std::nullopt);
}

void MqttChannel::leave(const AgoraRtmCompletion& completion) {
  const auto connection = connection_;
  const auto leaving = presence();
  const auto around = around_;
  end();
  if (!connection || connection->isClosed()) return around->tell(completion, rtmCode::success);
  // The last that holds the connection: it says goodbye when the others can know.
  connection->publish(leaving, "", true, [around, connection, completion](int) {
    connection->close();
    around->tell(completion, rtmCode::success);
  });
}

void MqttChannel::lost(MqttLoss loss) {
  connection_ = nullptr;
  reading_ = Reading::ownShard;
  finishListing(false);
  if (!joined_ && loss != MqttLoss::broken) return settleJoin(rtmCode::rejected);
  around_->loop->after(retry_.next(), [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->ended_ && !self->connection_) self->connect();
  });
}

void MqttChannel::settleJoin(std::int64_t code) {
  const auto completion = std::exchange(joining_, {});
  if (code != rtmCode::success && !ended_) leave({});
  around_->tell(completion, code);
}

void MqttChannel::end() {
  ended_ = true;
  if (connection_) connection_->mute();
  connection_ = nullptr;
  finishListing(false);
  around_->tell(std::exchange(joining_, {}), rtmCode::failure);
}

}  // namespace zavelo::detail

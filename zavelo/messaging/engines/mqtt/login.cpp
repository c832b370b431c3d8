#include "zavelo/messaging/engines/mqtt/login_internal.hpp"

#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::detail {
namespace {

/// For so long after its first claim a session takes a greater one for an older login's: a broker
/// may deliver what it has retained late, and one of a cluster may not have it at all.
constexpr std::chrono::seconds lateClaimTime{3};

}  // namespace

MqttLogin::MqttLogin(std::shared_ptr<MqttSurroundings> around, std::string userId,
                     std::optional<std::string> token, Reports reports)
    : around_(std::move(around)),
      userId_(std::move(userId)),
      token_(std::move(token)),
      reports_(std::move(reports)),
      retry_(around_->options.firstRetry, around_->options.longestRetry) {
  own_.session = randomMqttSession();
}

std::string MqttLogin::claimTopic() const {
  return mqttClaimTopic(around_->appId, userId_);
}

void MqttLogin::start() {
  around_->loop->after(around_->options.loginTimeout, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->complete_) self->end(rtmState::disconnected, rtmReason::loginTimeout);
  });
  connect();
}

// ---- the steps of a login ----

void MqttLogin::connect() {
  seen_.reset();
  claims_ = false;
  retryTimer_.reset();
  connection_ = MqttConnection::open(
      *around_->loop, around_->planFor(userId_, token_, claimTopic()), weak_from_this());
}

MqttConnection::Answer MqttLogin::step(void (MqttLogin::*next)()) {
  return [weak = weak_from_this(), connection = std::weak_ptr(connection_), next](int reason) {
    const auto self = weak.lock();
    if (!self || !self->connection_ || self->connection_ != connection.lock()) return;
    if (MqttConnection::isGood(reason)) return ((*self).*next)();
    const bool isRefused = reason >= 0;
    self->lost(
        {isRefused ? MqttLoss::Kind::refused : MqttLoss::Kind::broken, self->connection_->address(),
         isRefused ? "the broker refuses a step of the login" : "a step of the login had no answer",
         true});
  };
}

void MqttLogin::connected() {
  // The broker answers in order: when the second answer is here, so is a claim that stood there.
  connection_->subscribe(claimTopic(), {.qualityOfService = 1}, {});
  connection_->subscribe(mqttInboxFilter(around_->appId, userId_), {.qualityOfService = 1},
                         step(&MqttLogin::claim));
}

void MqttLogin::claim() {
  if (!complete_) own_.generation = std::max(own_.generation, seen_ ? seen_->generation : 0) + 1;
  if (complete_ && seen_ && *seen_ > own_) return end(rtmState::aborted, rtmReason::remoteLogin);
  if (!firstClaim_) firstClaim_ = MqttLoop::Clock::now();
  claims_ = true;
  publishClaim();
}

void MqttLogin::publishClaim() {
  connection_->publish({.topic = claimTopic(),
                        .payload = own_.text(),
                        .retain = true,
                        .expiry = around_->options.retainedExpiry},
                       step(&MqttLogin::claimed));
}

void MqttLogin::claimed() {
  if (connected_) return;
  complete_ = connected_ = true;
  tokenExpired_ = false;
  retry_.reset();
  renewClaimLater();
  around_->noteConnected(connection_->address());
  if (const auto report = reports_.state) report(rtmState::connected, rtmReason::loginSuccess);
}

void MqttLogin::renewClaimLater() {
  around_->loop->after(around_->options.retainedExpiry / 2,
                       [weak = weak_from_this(), connection = std::weak_ptr(connection_)] {
                         const auto self = weak.lock();
                         if (!self || !self->connected_ || self->connection_ != connection.lock())
                           return;
                         self->publishClaim();
                         self->renewClaimLater();
                       });
}

void MqttLogin::heardClaim(const std::string& payload) {
  const auto heard = MqttClaim::parsed(payload);
  if (!claims_) {
    seen_ = heard;
  } else if (heard && *heard > own_) {
    const bool isLate = MqttLoop::Clock::now() < *firstClaim_ + lateClaimTime;
    if (!isLate || !std::exchange(claimsAgain_, false))
      return end(rtmState::aborted, rtmReason::remoteLogin);
    own_.generation = heard->generation + 1;
    publishClaim();
  } else if (heard != own_) {
    publishClaim();  // of a session that has lost, and took the place of ours on the broker
  }
}

// ---- what comes and goes ----

void MqttLogin::received(const MqttMessage& message, bool isCut) {
  const auto topic = parsedMqttTopic(message.topic);
  if (!topic || topic->appId != around_->appId || topic->userId != userId_) return;
  if (topic->kind == MqttTopic::Kind::claim) return heardClaim(message.payload);
  if (topic->kind != MqttTopic::Kind::inbox || !around_->accepts(message, isCut, {})) return;
  if (repeats_.isRepeat(topic->senderId, message.id)) return;
  around_->tellDelegate(&AgoraRtmDelegate::peerMessageReceived, message.payload, topic->senderId);
}

void MqttLogin::send(const std::string& text, const std::string& peerId,
                     const AgoraRtmCompletion& completion) {
  if (!connected_) return around_->tell(completion, rtmCode::failure);
  if (text.size() > around_->options.maximumTextSize)
    return around_->tell(completion, rtmCode::rejected);
  const auto key = peerId + '\0' + text;
  const auto id = ids_.idFor(key);
  connection_->publish(
      {.topic = mqttInboxTopic(around_->appId, peerId, userId_), .payload = text, .id = id},
      [around = around_, weak = weak_from_this(), key, id, completion](int reason) {
        const auto self = weak.lock();
        if (self && reason < 0) self->ids_.noteFailure(key, id);
        const bool isHeard =
            MqttConnection::isGood(reason) && reason != MqttConnection::nobodyThere;
        around->tell(completion, isHeard         ? rtmCode::success
                                 : reason < 0x80 ? rtmCode::failure
                                                 : rtmCode::rejected);
      });
}

// ---- breaks ----

void MqttLogin::lost(const MqttLoss& loss) {
  drop();
  around_->noteLoss(loss);
  if (loss.kind == MqttLoss::Kind::expelled)
    return end(rtmState::aborted, rtmReason::bannedByServer);
  if (loss.kind == MqttLoss::Kind::refused) return refused(loss);
  if (!complete_) return end(rtmState::disconnected, rtmReason::loginFailure);
  const bool wasConnected = std::exchange(connected_, false);
  connectAfter(retry_.next());
  if (wasConnected && reports_.state)
    reports_.state(rtmState::reconnecting, rtmReason::interrupted);
}

void MqttLogin::refused(const MqttLoss& loss) {
  // Whom the broker knew before, it no longer knows by this token. A provider may have another one.
  const bool isFirst = complete_ && !std::exchange(tokenExpired_, true);
  if (isFirst) around_->tellDelegate(&AgoraRtmDelegate::tokenDidExpire);
  if (!isFirst || !around_->options.token)
    return end(rtmState::disconnected, rtmReason::loginFailure);
  MqttLoss again = loss;
  again.kind = MqttLoss::Kind::broken;
  lost(again);
}

void MqttLogin::connectAfter(std::chrono::milliseconds delay) {
  retryTimer_ = around_->loop->after(delay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->reports_.ended && !self->connection_ && !self->suspended_) self->connect();
  });
}

void MqttLogin::suspend() {
  suspended_ = true;
  drop();
  if (std::exchange(connected_, false) && reports_.state)
    reports_.state(rtmState::reconnecting, rtmReason::interrupted);
}

void MqttLogin::resume() {
  if (!std::exchange(suspended_, false)) return;
  retry_.reset();
  if (!connection_) connect();
}

void MqttLogin::networkChanged() {
  if (suspended_ || !reports_.ended) return;
  if (connection_ && connection_->isConnected()) return connection_->probe();
  if (!connection_ && !retryTimer_) return;  // waits for its first try
  if (retryTimer_) around_->loop->cancel(*retryTimer_);
  retry_.reset();
  drop();
  connect();
}

void MqttLogin::paceChanged() {
  if (connection_) connection_->setPingInterval(around_->pingInterval());
}

// ---- the end ----

void MqttLogin::drop() {
  const auto connection = std::exchange(connection_, nullptr);
  if (!connection) return;
  connection->mute();
  connection->close();
}

void MqttLogin::leave(std::function<void()> done) {
  reports_ = {};
  connected_ = false;
  const auto connection = std::exchange(connection_, nullptr);
  if (!connection) return done();
  connection->mute();
  if (!claims_) {
    connection->close();
    return done();
  }
  connection->unsubscribe(mqttInboxFilter(around_->appId, userId_));
  connection->publish({.topic = claimTopic(), .retain = true},
                      [connection, done = std::move(done)](int) {
                        connection->close();
                        done();
                      });
}

void MqttLogin::end(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) {
  if (!reports_.ended) return;
  const auto ended = std::exchange(reports_, {}).ended;
  connected_ = false;
  drop();
  ended(state, reason);
}

}  // namespace zavelo::detail

#include "zavelo/messaging/engines/mqtt/login_internal.hpp"

#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::detail {

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

void MqttLogin::connect() {
  seen_.reset();
  claims_ = false;
  connection_ = MqttConnection::open(
      *around_->loop, around_->planFor(userId_, token_, claimTopic()), weak_from_this());
}

void MqttLogin::connected() {
  // The broker answers in order: when the second answer is here, so is a claim that stood there.
  connection_->subscribe(claimTopic(), 1, MqttConnection::Echo::all, {});
  connection_->subscribe(mqttInboxFilter(around_->appId, userId_), 1, MqttConnection::Echo::all,
                         [weak = weak_from_this()](int reason) {
                           const auto self = weak.lock();
                           if (!self || !self->connection_) return;
                           if (reason >= 0x80) return self->lost(MqttLoss::refused);
                           if (reason >= 0) self->claim();
                         });
}

void MqttLogin::claim() {
  if (!complete_ && seen_) own_.generation = seen_->generation;
  if (!complete_) ++own_.generation;
  if (complete_ && seen_ && *seen_ > own_) return end(rtmState::aborted, rtmReason::remoteLogin);
  claims_ = true;
  connection_->publish(claimTopic(), own_.text(), true, [weak = weak_from_this()](int reason) {
    if (const auto self = weak.lock()) self->claimed(reason);
  });
}

void MqttLogin::claimed(int reason) {
  if (!connection_ || reason < 0) return;
  if (!MqttConnection::isGood(reason)) return lost(MqttLoss::refused);
  if (connected_) return;
  complete_ = connected_ = true;
  retry_.reset();
  reports_.state(rtmState::connected, rtmReason::loginSuccess);
}

void MqttLogin::received(const std::string& topic, const std::string& payload) {
  const auto parsed = parsedMqttTopic(topic);
  if (!parsed || parsed->appId != around_->appId || parsed->userId != userId_) return;
  if (parsed->kind == MqttTopic::Kind::inbox) reports_.text(payload, parsed->senderId);
  if (parsed->kind == MqttTopic::Kind::claim) heardClaim(payload);
}

void MqttLogin::heardClaim(const std::string& payload) {
  const auto heard = MqttClaim::parsed(payload);
  if (!claims_) {
    seen_ = heard;
  } else if (heard && *heard > own_) {
    end(rtmState::aborted, rtmReason::remoteLogin);
  } else if (heard != own_) {
    claim();  // of a session that has lost, and took the place of ours on the broker
  }
}

void MqttLogin::send(const std::string& text, const std::string& peerId,
                     const AgoraRtmCompletion& completion) {
  if (!connected_) return around_->tell(completion, rtmCode::failure);
  connection_->publish(mqttInboxTopic(around_->appId, peerId, userId_), text, false,
                       [around = around_, completion](int reason) {
                         const bool isHeard = MqttConnection::isGood(reason) &&
                                              reason != MqttConnection::nobodyThere;
                         around->tell(completion, isHeard         ? rtmCode::success
                                                  : reason < 0x80 ? rtmCode::failure
                                                                  : rtmCode::rejected);
                       });
}

void MqttLogin::lost(MqttLoss loss) {
  if (connection_) {
    connection_->mute();
    connection_->close();
  }
  connection_ = nullptr;
  if (loss == MqttLoss::expelled) return end(rtmState::aborted, rtmReason::bannedByServer);
  if (!complete_ || loss == MqttLoss::refused)
    return end(rtmState::disconnected, rtmReason::loginFailure);
  if (std::exchange(connected_, false))
    reports_.state(rtmState::reconnecting, rtmReason::interrupted);
  around_->loop->after(retry_.next(), [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->reports_.ended && !self->connection_) self->connect();
  });
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
  connection->publish(claimTopic(), "", true, [connection, done = std::move(done)](int) {
    connection->close();
    done();
  });
}

void MqttLogin::end(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason) {
  if (!reports_.ended) return;
  const auto ended = std::exchange(reports_, {}).ended;
  connected_ = false;
  if (connection_) {
    connection_->mute();
    connection_->close();
  }
  connection_ = nullptr;
  ended(state, reason);
}

}  // namespace zavelo::detail

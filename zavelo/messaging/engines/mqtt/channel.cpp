#include "zavelo/messaging/engines/mqtt/channel_internal.hpp"

#include <algorithm>

#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::detail {

MqttChannel::MqttChannel(std::shared_ptr<MqttSurroundings> around, User user, std::string channelId,
                         std::weak_ptr<AgoraRtmChannelDelegate> delegate,
                         const AgoraRtmJoinOptions& options)
    : around_(std::move(around)),
      user_(std::move(user)),
      channelId_(std::move(channelId)),
      delegate_(std::move(delegate)),
      options_(options),
      presence_(around_, user_.id, channelId_, delegate_),
      retry_(around_->options.firstRetry, around_->options.longestRetry),
      allowance_(static_cast<double>(around_->options.pace.texts)),
      allowanceTime_(MqttLoop::Clock::now()) {}

// ---- joining ----

void MqttChannel::join(AgoraRtmCompletion completion) {
  joining_ = std::move(completion);
  around_->loop->after(around_->options.joinTimeout, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->joined_) self->settleJoin(rtmCode::failure);
  });
  connect();
}

void MqttChannel::connect() {
  retryTimer_.reset();
  attached_ = false;
  auto will = presence_.beginSession();
  if (!options_.presence) will.clear();
  connection_ = MqttConnection::open(
      *around_->loop, around_->planFor(user_.id, user_.token, std::move(will)), weak_from_this());
}

void MqttChannel::connected() {
  // The broker answers in order: when the texts' subscription is acknowledged, the list that tells
  // whether many join together has usually been read.
  if (options_.presence) presence_.announce(connection_, step(&MqttChannel::proceed));
  connection_->subscribe(mqttChannelFilter(around_->appId, channelId_),
                         {.qualityOfService = 1, .echo = false}, step(&MqttChannel::attached));
}

MqttConnection::Answer MqttChannel::step(void (MqttChannel::*next)()) {
  return [weak = weak_from_this(), connection = std::weak_ptr(connection_), next](int reason) {
    const auto self = weak.lock();
    if (!self || !self->connection_ || self->connection_ != connection.lock()) return;
    if (MqttConnection::isGood(reason)) return ((*self).*next)();
    if (reason < 0)
      return self->lost({MqttLoss::Kind::broken, self->connection_->address(),
                         "a step of the join had no answer", true, self->connection_->silence()});
    if (!self->joined_) return self->settleJoin(rtmCode::rejected);
    self->giveUp(self->connection_->address() + ": the broker refuses the channel");
  };
}

void MqttChannel::attached() {
  attached_ = true;
  retry_.reset();
  around_->noteConnected(connection_->address());
  if (std::exchange(interrupted_, false)) report(AgoraRtmChannelState::resumed, {});
  if (!joined_) presence_.whenFollowing(step(&MqttChannel::complete));
}

void MqttChannel::complete() {
  if (std::exchange(joined_, true)) return;
  presence_.tellFromNowOn();
  settleJoin(rtmCode::success);
}

void MqttChannel::settleJoin(std::int64_t code) {
  const auto completion = std::exchange(joining_, {});
  if (code != rtmCode::success && !ended_) leave({});
  around_->tell(completion, code);
}

// ---- texts ----

void MqttChannel::received(const MqttMessage& message, bool isCut) {
  const auto topic = parsedMqttTopic(message.topic);
  if (!topic || topic->appId != around_->appId || topic->channelId != channelId_) return;
  if (topic->kind != MqttTopic::Kind::channelText) return presence_.received(*topic, message);
  if (!around_->accepts(message, isCut, channelId_)) return;
  if (repeats_.isRepeat(topic->userId, message.id)) return;
  const auto delegate = around_->isGone ? nullptr : delegate_.lock();
  if (delegate) delegate->channelMessageReceived(channelId_, message.payload, topic->userId);
}

void MqttChannel::send(const std::string& text, const AgoraRtmCompletion& completion) {
  if (!attached_ || !joined_) return around_->tell(completion, rtmCode::failure);
  if (text.size() > around_->options.maximumTextSize || !hasAllowance())
    return around_->tell(completion, rtmCode::rejected);
  const auto id = ids_.idFor(text);
  connection_->publish(
      {.topic = mqttChannelTopic(around_->appId, channelId_, user_.id), .payload = text, .id = id},
      [around = around_, weak = weak_from_this(), text, id, completion](int reason) {
        const auto self = weak.lock();
        if (self && reason < 0) self->ids_.noteFailure(text, id);
        around->tell(completion, MqttConnection::isGood(reason) ? rtmCode::success
                                 : reason < 0                   ? rtmCode::failure
                                                                : rtmCode::rejected);
      });
}

/// A bucket that fills with time (a token bucket): it takes the text, or there is none left.
bool MqttChannel::hasAllowance() {
  const auto& pace = around_->options.pace;
  if (pace.texts == 0) return true;
  const auto now = MqttLoop::Clock::now();
  const std::chrono::duration<double> passed = now - std::exchange(allowanceTime_, now);
  const auto most = static_cast<double>(pace.texts);
  allowance_ = std::min(most, allowance_ + most * (passed / pace.time));
  if (allowance_ < 1) return false;
  allowance_ -= 1;
  return true;
}

// ---- members ----

void MqttChannel::getMembers(AgoraRtmMembersCompletion completion) {
  if (!attached_) return around_->tell(completion, std::nullopt);
  presence_.list(connection_, std::move(completion));
}

void MqttChannel::countMembers(AgoraRtmCountCompletion completion) {
  if (!attached_) return around_->tell(completion, std::nullopt);
  presence_.count(connection_, std::move(completion));
}

// ---- breaks ----

void MqttChannel::lost(const MqttLoss& loss) {
  if (connection_) {
    connection_->mute();
    connection_->close();
  }
  connection_ = nullptr;
  presence_.endSession();
  around_->noteLoss(loss);
  if (!joined_ && loss.kind != MqttLoss::Kind::broken) return settleJoin(rtmCode::rejected);
  const auto problem = loss.address + ": " + loss.problem;
  // A refusal may be a token's, which is asked for again at the next try.
  if (loss.kind == MqttLoss::Kind::expelled) return giveUp(problem);
  connectAfter(retry_.next());
  interrupt(problem, loss.silence);
}

void MqttChannel::connectAfter(std::chrono::milliseconds delay) {
  retryTimer_ = around_->loop->after(delay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && !self->ended_ && !self->connection_ && !self->suspended_) self->connect();
  });
}

void MqttChannel::interrupt(const std::string& problem, std::chrono::milliseconds silence) {
  attached_ = false;
  if (!joined_ || std::exchange(interrupted_, true)) return;
  report(AgoraRtmChannelState::interrupted, problem, silence);
}

void MqttChannel::report(AgoraRtmChannelState state, const std::string& problem,
                         std::chrono::milliseconds silence) const {
  around_->tellDelegate(&AgoraRtmDelegate::channelStateChanged, channelId_, state, problem,
                        silence);
}

void MqttChannel::suspend(const std::string& problem) {
  if (!joined_) return leave({});
  suspended_ = true;
  const auto connection = std::exchange(connection_, nullptr);
  presence_.endSession();
  interrupt(problem, connection ? connection->silence() : std::chrono::milliseconds(0));
  if (!connection) return;
  connection->mute();
  options_.presence ? presence_.depart(connection) : connection->close();
}

void MqttChannel::resume(const User& user) {
  if (!std::exchange(suspended_, false) || ended_) return;
  user_ = user;
  retry_.reset();
  connectAfter(retry_.next());  // others who lost the same broker resume, too
}

void MqttChannel::networkChanged() {
  if (suspended_ || ended_) return;
  if (connection_ && connection_->isConnected()) return connection_->probe();
  if (retryTimer_) around_->loop->cancel(*retryTimer_);
  if (connection_) {
    connection_->mute();
    connection_->close();
  }
  retry_.reset();
  connect();
}

void MqttChannel::paceChanged() {
  if (connection_) connection_->setPingInterval(around_->pingInterval());
}

// ---- the end ----

void MqttChannel::leave(const AgoraRtmCompletion& completion) {
  const auto connection = connection_;
  const auto around = around_;
  end();
  if (!connection || !connection->isConnected() || !options_.presence) {
    if (connection) connection->close();
    return around->tell(completion, rtmCode::success);
  }
  presence_.depart(connection,
                   [around, completion] { around->tell(completion, rtmCode::success); });
}

void MqttChannel::giveUp(const std::string& problem) {
  if (ended_) return;
  leave({});
  report(AgoraRtmChannelState::givenUp, problem);
}

void MqttChannel::end() {
  ended_ = true;
  attached_ = false;
  if (connection_) connection_->mute();
  connection_ = nullptr;
  presence_.endSession();
  around_->tell(std::exchange(joining_, {}), rtmCode::failure);
}

}  // namespace zavelo::detail

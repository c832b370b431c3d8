#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <utility>

#include "zavelo/messaging/engines/mqtt/reason_internal.hpp"

namespace zavelo::detail {
namespace {

/// A broker that is asked whether it is still there answers within this time.
constexpr std::chrono::seconds probeTime{3};
/// More sends than this wait for the broker's window only where nobody looks at the answers.
constexpr std::size_t mostQueued = 20'000;
constexpr std::size_t chunkSize = 16 * 1024;
constexpr int mostChunks = 64;  // then it is another connection's turn

}  // namespace

std::shared_ptr<MqttConnection> MqttConnection::open(MqttLoop& loop, MqttPlan plan,
                                                     std::weak_ptr<MqttListener> listener) {
  std::shared_ptr<MqttConnection> connection(
      new MqttConnection(loop, std::move(plan), std::move(listener)));
  connection->resolve();
  loop.serve(connection);
  return connection;
}

MqttConnection::MqttConnection(MqttLoop& loop, MqttPlan plan, std::weak_ptr<MqttListener> listener)
    : loop_(loop),
      listener_(std::move(listener)),
      plan_(std::move(plan)),
      reader_(plan_.largestBody),
      requests_(plan_.requestTimeout),
      deadline_(MqttLoop::Clock::now() + plan_.requestTimeout),
      lastIn_(MqttLoop::Clock::now()),
      lastOut_(lastIn_) {}

// ---- on the way to the broker ----

void MqttConnection::resolve() {
  const auto taking = [weak = weak_from_this()](const MqttResolver::Answer& answer) {
    const auto self = weak.lock();
    if (!self || self->phase_ != Phase::resolving) return;
    self->addresses_ = answer.addresses;
    self->tryNextAddress(answer.problem);
  };
  if (!plan_.problem.empty())
    return loop_.post([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->fail(MqttLoss::Kind::refused, self->plan_.problem);
    });
  plan_.resolver->resolve(plan_.broker.host, plan_.broker.port, loop_, taking);
}

void MqttConnection::tryNextAddress(const std::string& problem) {
  if (nextAddress_ == addresses_.size()) return fail(MqttLoss::Kind::broken, problem);
  stream_ = MqttStream::open(addresses_[nextAddress_++], plan_.broker.host, plan_.trust);
  reader_.clear(), out_.clear();
  phase_ = Phase::connecting;
  // It may have failed already, and have no file that poll() could wait for.
  loop_.post([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->phase_ == Phase::connecting) self->proceed();
  });
  const bool isLast = nextAddress_ == addresses_.size();
  deadline_ =
      MqttLoop::Clock::now() +
      (isLast ? plan_.requestTimeout : std::min(plan_.addressTimeout, plan_.requestTimeout));
}

void MqttConnection::proceed() {
  switch (stream_->proceed()) {
    case MqttStream::State::waiting:
      return;
    case MqttStream::State::ready:
      return greet();
    case MqttStream::State::failed:
      if (stream_->isMistrusted()) return fail(MqttLoss::Kind::refused, stream_->problem());
      return tryNextAddress(stream_->problem());
  }
}

void MqttConnection::greet() {
  phase_ = Phase::greeting;
  deadline_ = MqttLoop::Clock::now() + plan_.requestTimeout;
  out_ = mqttConnectPacket(plan_.request);
  flush();
}

// ---- requests ----

void MqttConnection::answerLater(Answer answer, int reason) {
  if (answer) loop_.post([answer = std::move(answer), reason] { answer(reason); });
}

void MqttConnection::publish(const MqttMessage& message, Answer answer) {
  if (phase_ != Phase::open || requests_.queued() >= mostQueued)
    return answerLater(std::move(answer), unanswered);
  const auto id = requests_.add(std::move(answer));
  auto packet = mqttPublishPacket(id, message);
  constexpr int packetTooLarge = 0x95;
  if (maximumPacketSize_ != 0 && packet.size() > maximumPacketSize_)
    return answerLater(requests_.withdraw(id), packetTooLarge);
  requests_.queue(id, std::move(packet));
  requests_.sendQueued(out_);
}

void MqttConnection::subscribe(const std::string& filter, const Subscription& subscription,
                               Answer answer) {
  if (phase_ != Phase::open) return answerLater(std::move(answer), unanswered);
  constexpr int noLocal = 0x04;
  const int options = subscription.qualityOfService | (subscription.echo ? 0 : noLocal);
  out_ += mqttSubscribePacket(requests_.add(std::move(answer)), filter,
                              static_cast<std::uint8_t>(options));
}

void MqttConnection::unsubscribe(const std::string& filter) {
  if (phase_ == Phase::open) out_ += mqttUnsubscribePacket(requests_.add({}), filter);
}

void MqttConnection::probe() {
  if (phase_ != Phase::open) return;
  out_ += mqttPingPacket();
  pinged_ = MqttLoop::Clock::now();
  pongDeadline_ = *pinged_ + probeTime;
}

// ---- the loop's turn ----

int MqttConnection::file() const {
  return stream_ ? stream_->file() : -1;
}

short MqttConnection::awaited() const {
  if (phase_ == Phase::connecting) return stream_->awaited();
  return out_.empty() ? POLLIN : POLLIN | POLLOUT;
}

MqttConnection::Time MqttConnection::pingTime() const {
  return pongDeadline_ ? *pongDeadline_ : std::min(lastIn_, lastOut_) + plan_.pingInterval;
}

MqttConnection::Time MqttConnection::nextTick() {
  if (phase_ != Phase::open) return deadline_;
  if (stream_->hasBuffered()) return MqttLoop::Clock::now();
  return std::min(pingTime(), requests_.nextDeadline());
}

void MqttConnection::serve(short events) {
  const auto self = shared_from_this();
  if (phase_ == Phase::connecting && events != 0) proceed();
  const bool mayRead = (events & (POLLIN | POLLERR | POLLHUP)) != 0;
  if ((phase_ == Phase::greeting || phase_ == Phase::open) && (mayRead || stream_->hasBuffered()))
    read();
  flush();
  tick();
  flush();
}

void MqttConnection::read() {
  std::array<char, chunkSize> chunk;
  for (int i = 0; i < mostChunks && phase_ != Phase::closed; ++i) {
    const auto size = stream_->read(chunk.data(), chunk.size());
    if (size == 0) return stream_->problem().empty() ? void() : broke(stream_->problem());
    lastIn_ = MqttLoop::Clock::now();
    take({chunk.data(), size});
    // What is left poll() reports; asking for it would cost as much as reading it.
    if (size < chunk.size() && (phase_ == Phase::closed || !stream_->hasBuffered())) return;
  }
}

void MqttConnection::flush() {
  if (phase_ != Phase::greeting && phase_ != Phase::open) return;
  std::size_t written = 0;
  while (written < out_.size()) {
    const auto size = stream_->write(std::string_view(out_).substr(written));
    if (size == 0) break;
    written += size;
  }
  if (written > 0) lastOut_ = MqttLoop::Clock::now();
  out_.erase(0, written);
  if (!stream_->problem().empty()) broke(stream_->problem());
}

void MqttConnection::take(std::string_view bytes) {
  reader_.add(bytes);
  while (phase_ != Phase::closed) {
    auto framing = MqttFraming::incomplete;
    const auto packet = reader_.next(framing);
    if (framing == MqttFraming::invalid)
      return fail(MqttLoss::Kind::broken, "what answers is no broker");
    if (!packet) return;
    handle(packet->frame, packet->body, packet->isCut);
  }
}

void MqttConnection::handle(const MqttFrame& frame, std::string_view body, bool isCut) {
  const auto packet = parsedMqttPacket(frame, body);
  const bool isGreeting = frame.type == MqttPacketType::connectAnswer;
  if (!packet || (isCut && frame.type != MqttPacketType::publish) ||
      isGreeting != (phase_ == Phase::greeting))
    return fail(MqttLoss::Kind::broken, "what answers is no broker");
  switch (packet->type) {
    case MqttPacketType::connectAnswer:
      return handleGreeting(*packet);
    case MqttPacketType::publish:
      return handlePublish(*packet, isCut);
    case MqttPacketType::publishAnswer:
      requests_.settlePublish(packet->id, packet->reason);
      return requests_.sendQueued(out_);
    case MqttPacketType::disconnect:
      return fail(mqttLossKind(packet->reason), mqttReasonWords(*packet));
    case MqttPacketType::pingAnswer:
      return pinged_ ? requests_.prove(*pinged_) : void();
    default:
      return requests_.settle(packet->id, packet->reason);
  }
}

void MqttConnection::handleGreeting(const MqttPacket& packet) {
  if (packet.reason != 0) return fail(mqttLossKind(packet.reason), mqttReasonWords(packet));
  phase_ = Phase::open;
  requests_.setWindow(std::max<std::size_t>(1, packet.receiveMaximum));
  maximumPacketSize_ = packet.maximumPacketSize;
  if (packet.serverKeepAlive && packet.serverKeepAlive->count() > 0)
    plan_.pingInterval =
        std::min<std::chrono::milliseconds>(plan_.pingInterval, *packet.serverKeepAlive);
  if (const auto listener = listener_.lock()) listener->connected();
}

void MqttConnection::handlePublish(const MqttPacket& packet, bool isCut) {
  if (const auto listener = listener_.lock()) listener->received(packet.message, isCut);
  if (packet.qualityOfService > 0) out_ += mqttPublishAnswerPacket(packet.id);
}

void MqttConnection::tick() {
  const auto now = MqttLoop::Clock::now();
  if (phase_ == Phase::closed) return;
  if (phase_ != Phase::open) {
    if (now >= deadline_) broke("no answer");
    return;
  }
  requests_.expire(now);
  if (phase_ != Phase::open) return;
  keepAlive(now);
}

void MqttConnection::keepAlive(Time now) {
  if (pongDeadline_ && lastIn_ >= *pinged_) pongDeadline_.reset();
  if (pongDeadline_ && now >= *pongDeadline_) return broke("no answer");
  // Up to half of the time early, so that whatever their distance the connections of a kit soon
  // ping together: every wake-up of a device costs.
  if (pongDeadline_ || now + plan_.pingInterval / 2 < pingTime()) return;
  out_ += mqttPingPacket();
  pinged_ = now;
  pongDeadline_ = now + plan_.pongTimeout;
}

// ---- the end ----

void MqttConnection::broke(const std::string& problem) {
  const bool mayTryNext = phase_ == Phase::connecting || phase_ == Phase::greeting;
  if (mayTryNext) return tryNextAddress(problem);
  fail(MqttLoss::Kind::broken, problem);
}

std::chrono::milliseconds MqttConnection::silence() const {
  return std::chrono::ceil<std::chrono::milliseconds>(MqttLoop::Clock::now() -
                                                      requests_.provenAt());
}

void MqttConnection::fail(MqttLoss::Kind kind, const std::string& problem) {
  if (phase_ == Phase::closed) return;
  const MqttLoss loss{kind, address(), problem, phase_ == Phase::open, silence()};
  const auto listener = std::exchange(listener_, {}).lock();
  end();
  if (listener) listener->lost(loss);
}

void MqttConnection::close() {
  if (phase_ == Phase::open) {
    out_ += mqttDisconnectPacket();
    flush();
  }
  if (phase_ != Phase::closed) end();
}

void MqttConnection::end() {
  phase_ = Phase::closed;
  stream_ = nullptr;
  requests_.abandon(loop_);
}

}  // namespace zavelo::detail

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
/// A connection on which much comes gives the others their turn after so many chunks.
constexpr int mostChunks = 64;

}  // namespace

std::string MqttBroker::text() const {
  const bool isIpv6 = host.find(':') != std::string::npos;
  return (tls ? "mqtts://" : "mqtt://") + (isIpv6 ? "[" + host + "]" : host) + ":" +
         std::to_string(port);
}

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
  if (const auto address = MqttResolver::numeric(plan_.broker.host, plan_.broker.port))
    return loop_.post([taking, address = *address] { taking({{address}, {}}); });
  plan_.resolver->resolve(plan_.broker.host, plan_.broker.port,
                          [taking, loop = loop_.weak_from_this()](const auto& answer) {
                            if (const auto waiting = loop.lock())
                              waiting->post([taking, answer] { taking(answer); });
                          });
}

void MqttConnection::tryNextAddress(const std::string& problem) {
  if (nextAddress_ == addresses_.size()) return fail(MqttLoss::Kind::broken, problem);
  stream_ = MqttStream::open(addresses_[nextAddress_++], plan_.broker.host, plan_.trust);
  in_.clear(), out_.clear();
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

void MqttConnection::publish(const MqttMessage& message, Answer answer) {
  const auto unable = [&](int reason) {
    if (answer) loop_.post([answer = std::move(answer), reason] { answer(reason); });
  };
  if (phase_ != Phase::open || queued_.size() >= mostQueued) return unable(unanswered);
  const auto id = expect(std::move(answer));
  auto packet = mqttPublishPacket(id, message);
  constexpr int packetTooLarge = 0x95;
  if (maximumPacketSize_ != 0 && packet.size() > maximumPacketSize_) {
    answer = std::move(requests_[id].answer);
    requests_.erase(id);
    return unable(packetTooLarge);
  }
  queued_.emplace_back(id, std::move(packet));
  sendQueued();
}

void MqttConnection::sendQueued() {
  while (!queued_.empty() && inFlight_ < receiveMaximum_) {
    const auto [id, packet] = std::move(queued_.front());
    queued_.pop_front();
    if (!requests_.contains(id)) continue;  // has timed out
    ++inFlight_;
    out_ += packet;
  }
}

void MqttConnection::subscribe(const std::string& filter, const Subscription& subscription,
                               Answer answer) {
  if (phase_ != Phase::open) {
    if (answer) loop_.post([answer = std::move(answer)] { answer(unanswered); });
    return;
  }
  constexpr int noLocal = 0x04, noRetained = 0x20;
  const int options = subscription.qualityOfService | (subscription.echo ? 0 : noLocal) |
                      (subscription.retained ? 0 : noRetained);
  out_ +=
      mqttSubscribePacket(expect(std::move(answer)), filter, static_cast<std::uint8_t>(options));
}

void MqttConnection::unsubscribe(const std::string& filter) {
  if (phase_ == Phase::open) out_ += mqttUnsubscribePacket(expect({}), filter);
}

std::uint16_t MqttConnection::expect(Answer answer) {
  do ++lastId_;
  while (lastId_ == 0 || requests_.contains(lastId_));
  requests_[lastId_] = {std::move(answer), ++lastSerial_};
  deadlines_.push_back({MqttLoop::Clock::now() + plan_.requestTimeout, lastId_, lastSerial_});
  return lastId_;
}

void MqttConnection::settle(std::uint16_t id, int reason) {
  const auto found = requests_.find(id);
  if (found == requests_.end()) return;
  const auto answer = std::move(found->second.answer);
  requests_.erase(found);
  if (answer) answer(reason);
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
  const auto isSettled = [this](const Deadline& each) {
    const auto found = requests_.find(each.id);
    return found == requests_.end() || found->second.serial != each.serial;
  };
  while (!deadlines_.empty() && isSettled(deadlines_.front())) deadlines_.pop_front();
  return deadlines_.empty() ? pingTime() : std::min(pingTime(), deadlines_.front().time);
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
  const auto skipped = std::min(skipped_, bytes.size());
  skipped_ -= skipped;
  in_ += bytes.substr(skipped);
  takePackets();
  if (in_.empty() && in_.capacity() > 2 * chunkSize) in_ = {};
}

void MqttConnection::takePackets() {
  std::size_t taken = 0;
  while (phase_ != Phase::closed) {
    const auto bytes = std::string_view(in_).substr(taken);
    std::optional<MqttFrame> frame;
    const auto framing = mqttFrame(bytes, frame);
    if (framing == MqttFraming::invalid)
      return fail(MqttLoss::Kind::broken, "what answers is no broker");
    if (!frame) break;
    const bool isCut = frame->bodySize > plan_.largestBody;
    const auto present = std::min(frame->bodySize, bytes.size() - frame->headerSize);
    if (present < std::min(frame->bodySize, plan_.largestBody)) break;
    handle(*frame, bytes.substr(frame->headerSize, present), isCut);
    skipped_ = frame->bodySize - present;
    taken += frame->headerSize + present;
  }
  in_.erase(0, taken);
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
      if (inFlight_ > 0) --inFlight_;
      settle(packet->id, packet->reason);
      return sendQueued();
    case MqttPacketType::disconnect:
      return fail(mqttLossKind(packet->reason), mqttReasonWords(*packet));
    default:
      return settle(packet->id, packet->reason);
  }
}

void MqttConnection::handleGreeting(const MqttPacket& packet) {
  if (packet.reason != 0) return fail(mqttLossKind(packet.reason), mqttReasonWords(packet));
  phase_ = Phase::open;
  receiveMaximum_ = std::max<std::size_t>(1, packet.receiveMaximum);
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
  while (!deadlines_.empty() && deadlines_.front().time <= now) {
    const auto late = deadlines_.front();
    deadlines_.pop_front();
    const auto found = requests_.find(late.id);
    if (found != requests_.end() && found->second.serial == late.serial)
      settle(late.id, unanswered);
    if (phase_ != Phase::open) return;
  }
  keepAlive(now);
}

void MqttConnection::keepAlive(Time now) {
  if (pongDeadline_ && lastIn_ >= *pinged_) pongDeadline_.reset();
  if (pongDeadline_ && now >= *pongDeadline_) return broke("no answer");
  // Somewhat early, so that the connections of a kit ping together: every wake-up of a device
  // costs.
  if (pongDeadline_ || now + plan_.pingInterval / 8 < pingTime()) return;
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

void MqttConnection::fail(MqttLoss::Kind kind, const std::string& problem) {
  if (phase_ == Phase::closed) return;
  const MqttLoss loss{
      kind, plan_.broker.text(), problem, phase_ == Phase::open,
      std::chrono::duration_cast<std::chrono::milliseconds>(MqttLoop::Clock::now() - lastIn_)};
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
  for (auto& [id, request] : std::exchange(requests_, {}))
    if (request.answer) loop_.post([answer = std::move(request.answer)] { answer(unanswered); });
}

}  // namespace zavelo::detail

#include "sandbox/channels/channels.hpp"

#include <utility>

#include "sandbox/channels/host_message.hpp"
#include "sandbox/users/tokens.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::sandbox {

Channels::Channels(Database& database, const Sessions& sessions, std::string site)
    : database_(database),
      sessions_(sessions),
      site_(std::move(site)),
      votes_(database),
      listeners_{&votes_} {}

Status<std::string> Channels::open(std::uint16_t port, std::chrono::milliseconds period) {
  // The broker asks for no passwords, but no one can guess this name.
  const std::string userName = "sandbox-" + makeToken();
  auto broker = BrokerProcess::start({.port = port, .master = userName});
  if (!broker) return Failure{std::move(broker).error()};
  auto tap = ChannelTap::open((*broker)->port(), userName, listeners_);
  if (!tap) return Failure{std::move(tap).error()};
  broker_ = std::move(*broker);
  tap_ = std::move(*tap);
  if (period.count() > 0) round_ = std::make_unique<Round>(period, [this] { goRound(); });
  return noFailure;
}

void Channels::close() {
  round_.reset();
  tap_.reset();
  broker_.reset();
}

std::optional<std::string> Channels::url() const {
  if (!broker_ || !broker_->runs()) return {};
  return "mqtt://127.0.0.1:" + std::to_string(broker_->port());
}

std::int64_t Channels::tell(const Stream& stream, const ZVStreamMessage& event) {
  const auto text = ZVMessage(event).toJsonString();
  if (!tap_ || !text || !event.senderUserId) return 0;
  // The broker hands it back.
  if (dynamic_cast<const ZVPollMessage*>(&event) != nullptr) votes_.noteSent(*text);
  return tap_->tell(stream.slug, std::to_string(*event.senderUserId), *text);
}

void Channels::noteGift(const GivenGift& gift) const {
  for (auto* listener : listeners_) listener->given(gift);
}

void Channels::goRound() {
  const auto polls = votes_.takeChanged();
  for (const auto& slug : tap_->channels()) tellStatistic(slug, polls.contains(slug));
}

void Channels::tellStatistic(const std::string& slug, bool withPoll) {
  std::optional<Stream> stream;
  std::vector<std::shared_ptr<ZVStreamMessage>> events;
  database_.transact([&](Transaction& transaction) {
    stream = streamBySlug(transaction, slug);
    if (!stream || stream->status != StreamStatus::live) return;
    const HostMessages messages(transaction, *stream, site_, sessions_.now());
    events.push_back(messages.statistic());
    const auto poll = withPoll ? runningPoll(transaction, stream->id) : std::nullopt;
    if (poll) events.push_back(messages.poll(*poll));
  });
  for (const auto& event : events) tell(*stream, *event);
}

}  // namespace zavelo::sandbox

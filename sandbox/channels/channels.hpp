#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/broker/broker_process.hpp"
#include "sandbox/channels/channel_tap.hpp"
#include "sandbox/channels/poll_votes.hpp"
#include "sandbox/channels/round.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/users/sessions.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::sandbox {

/// The channels of the streams, on a broker of the sandbox's own. What it is given outlives it.
class Channels {
 public:
  Channels(Database& database, const Sessions& sessions, std::string site);

  /// Before opening; outlives the channels.
  void add(ChannelListener& listener) { listeners_.push_back(&listener); }

  /// Starts the broker and listens in. `period`: how often statistics go out; zero: never. The
  /// error is a sentence for a person.
  [[nodiscard]] Status<std::string> open(std::uint16_t port, std::chrono::milliseconds period);
  /// Ends the broker and every connection to it. Nothing is called afterwards.
  void close();

  /// "mqtt://127.0.0.1:1883"; none without a broker that runs.
  [[nodiscard]] std::optional<std::string> url() const;

  /// Sends the event into the stream's channel under its sender's id, if the channel has members.
  /// Returns how often: once for each app.
  std::int64_t tell(const Stream& stream, const ZVStreamMessage& event);

  /// Tells the listeners.
  void noteGift(const GivenGift& gift) const;

 private:
  void goRound();
  void tellStatistic(const std::string& slug, bool withPoll);

  Database& database_;
  const Sessions& sessions_;
  const std::string site_;
  PollVotes votes_;
  std::vector<ChannelListener*> listeners_;
  std::unique_ptr<BrokerProcess> broker_;
  std::unique_ptr<ChannelTap> tap_;
  std::unique_ptr<Round> round_;
};

}  // namespace zavelo::sandbox

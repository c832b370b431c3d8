#pragma once

#include <memory>
#include <string>

#include "sandbox/channels/poll.hpp"
#include "sandbox/state/time.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/messaging/message_type.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::sandbox {

/// Makes the events that the app of a stream's host sends into the stream's channel.
class HostMessages {
 public:
  /// `site` is the sandbox's own address.
  HostMessages(Transaction& transaction, const Stream& stream, std::string site, Time now);

  [[nodiscard]] std::shared_ptr<ZVStreamMessage> statistic() const;
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> poll(const Poll& poll) const;
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> floatingText(
      ZVFloatingTextMessageFields fields) const;
  /// "kicked" and the like.
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> about(const Member& target,
                                                       ZVMessageType kind) const;

 private:
  template <class Message>
  [[nodiscard]] std::shared_ptr<Message> signedBy(ZVMessageType kind) const;

  const Stream& stream_;
  const Member host_;
  const std::string site_;
  const std::int64_t secondsLive_;
};

}  // namespace zavelo::sandbox

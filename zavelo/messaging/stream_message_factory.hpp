#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/message_type.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo {

/// Makes events of one kind that the current user sends.
struct ZAVELO_EXPORT ZVStreamMessageFactory {
  ZVMessageType type;

  explicit ZVStreamMessageFactory(ZVMessageType kind) : type(kind) {}

  /// An event of the kind's own class (of a poll: the plain one), with the sender filled in:
  ///
  ///     member    the profile's values; what it lacks stays absent
  ///     guest     the guest's id and user name; display name and avatar are empty texts
  ///     nobody    all absent
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> createMessage(
      std::string content, std::int64_t recordedTime,
      const ZVCurrentUserSource& users = ZVCurrentUserSource::shared()) const;
  /// A poll of this kind with the same fields beside it.
  [[nodiscard]] std::shared_ptr<ZVPollMessage> createPollMessage(
      std::shared_ptr<ZVPoll> poll, std::int64_t recordedTime,
      const ZVCurrentUserSource& users = ZVCurrentUserSource::shared()) const;
};

}  // namespace zavelo

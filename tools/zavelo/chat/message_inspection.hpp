#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zavelo/json/value.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo::command {

/// What a messaging text holds: an envelope, and in it, as JSON inside JSON, one event record.
struct MessageInspection {
  std::string kind;                     ///< "gift"; the code of an unknown kind; else empty
  std::optional<json::Value> envelope;  ///< any sound JSON
  std::optional<json::Value> record;    ///< the same of what the envelope's `message` says
  /// The first fault with its path, "message.giftId: expected integer"; absent: an app reads it.
  std::optional<std::string> fault;
};

/// The event in an envelope, or its first fault with the path from the envelope on.
[[nodiscard]] Result<std::shared_ptr<ZVStreamMessage>, json::Error> eventIn(
    const std::shared_ptr<const ZVMessage>& envelope);

[[nodiscard]] MessageInspection inspect(const std::string& text);

}  // namespace zavelo::command

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/error.hpp"
#include "zavelo/messaging/stream_message.hpp"
#include "zavelo/messaging/string_message.hpp"

namespace zavelo {

/// What an envelope holds.
struct ZVMessageFields {
  std::int64_t type = rawValue(ZVMessageType::message);  ///< any integer, not only known kinds
  std::string message = {};                              ///< one event record as JSON
};

/// The envelope in which an event travels: its kind, and the event as JSON inside JSON.
///
///     {"type":1,"message":"{\"senderUserId\":42,...,\"message\":\"hello\",...}"}
///
///     channel->sendMessage(*ZVMessage(*event).toJsonString());
///     ...
///     if (auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text))
///       if (auto event = (*envelope)->getStreamMessage()) show(*event);
class ZAVELO_EXPORT ZVMessage final : public ZVStringMessage, public ZVMessageFields {
 public:
  ZVMessage() = default;
  /// Holds the record under its own `messageType`, or 1 when it has none. One that JSON cannot say
  /// becomes the empty text.
  explicit ZVMessage(const ZVStreamMessage& record);

  /// The event, of the class that goes with `type`; null when `message` is no such record.
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> getStreamMessage() const;

  [[nodiscard]] json::RecordView asRecord() const override;
};

/// Takes the event out of an envelope. Which class it has is up to the envelope's `type` alone:
/// the record's own `messageType` is not looked at.
class ZAVELO_EXPORT ZVMessageDecoder {
 public:
  explicit ZVMessageDecoder(std::shared_ptr<const ZVMessage> envelope)
      : message(std::move(envelope)) {}

  /// Null when the text is no record of that class.
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> decode() const;
  /// The same, with the reason in place of null.
  [[nodiscard]] Result<std::shared_ptr<ZVStreamMessage>, json::Error> decodeOrFault() const;

  std::shared_ptr<const ZVMessage> message;
};

template <>
struct json::RecordOf<ZVMessage> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

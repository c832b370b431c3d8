#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/message_type.hpp"
#include "zavelo/messaging/string_message.hpp"

namespace zavelo {

/// What every chat event carries. All of it is written, null where it is absent.
struct ZVStreamMessageFields {
  std::optional<std::int64_t> senderUserId = {};
  std::optional<std::string> senderUserName = {};
  std::optional<std::string> senderDisplayName = {};
  std::optional<std::string> senderAvatar = {};  ///< URL
  std::optional<std::int64_t> messageType = {};  ///< of `ZVMessageType`
  std::optional<std::string> message = {};
  std::optional<bool> shouldShowLikeMessage = {};
  std::optional<std::int64_t> recordedTime = {};  ///< for replay; the clock is the sender's choice
  std::optional<std::int64_t> receiverStars = {};
  std::optional<std::string> targetUsername = {};  ///< whom the event is about

  bool operator==(const ZVStreamMessageFields&) const = default;
};

/// A chat event: a line, a like, a viewer who joins, an action of the host or an administrator. The
/// kinds that carry more derive from it. Not synchronised: one thread at a time.
class ZAVELO_EXPORT ZVStreamMessage : public ZVStringMessage, public ZVStreamMessageFields {
 public:
  ZVStreamMessage() = default;
  explicit ZVStreamMessage(ZVStreamMessageFields fields);

  /// `message` when `messageType` is absent or is no kind.
  [[nodiscard]] ZVMessageType type() const;
  /// Whether the current user sent it. Never so for a guest, who has no profile.
  [[nodiscard]] bool isMine(const ZVCurrentUserSource& users = ZVCurrentUserSource::shared()) const;
  /// Whether it says of itself what the messaging service vouches for: that this user sent it (the
  /// `senderId` of a `ZVRTMChannelMessage`).
  [[nodiscard]] bool isFrom(const std::string& senderId) const;
  /// A plain event with the same fields; what a subclass adds is left behind.
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> duplicate() const;

  [[nodiscard]] json::RecordView asRecord() const override;
};

/// What `ZVStatisticMessage` adds.
struct ZVStatisticMessageFields {
  std::optional<std::string> slug = {};
  std::optional<std::int64_t> streamDuration = {};
  std::optional<std::int64_t> totalViewers = {};
  std::optional<std::int64_t> totalLikes = {};
  std::optional<std::int64_t> totalReceivedStars = {};
  std::optional<std::int64_t> gender = {};
  std::optional<bool> isShowLike = {};
  std::optional<bool> isShowView = {};
  std::optional<std::string> promoCode = {};
  std::optional<std::string> promoCodeDescription = {};
  std::optional<std::int64_t> placingOrderCount = {};
  std::optional<std::string> cartUrl = {};
  std::optional<std::int64_t> bitRate = {};
  std::optional<std::int64_t> maxBitRate = {};
};

/// How a stream is doing; its host sends it from time to time.
class ZAVELO_EXPORT ZVStatisticMessage final : public ZVStreamMessage,
                                               public ZVStatisticMessageFields {
 public:
  std::optional<double> uploadBitRate;  ///< the host's own; never travels

  [[nodiscard]] json::RecordView asRecord() const override;
};

/// Where a text floats over the picture.
struct ZVFloatingTextPosition {
  std::optional<double> x = {};
  std::optional<double> y = {};
};

/// What `ZVFloatingTextMessage` adds.
struct ZVFloatingTextMessageFields {
  std::optional<std::string> content = {};
  std::optional<std::string> streamTitleColor = {};
  std::shared_ptr<ZVFloatingTextPosition> position = {};
};

/// A text that floats over the picture.
class ZAVELO_EXPORT ZVFloatingTextMessage final : public ZVStreamMessage,
                                                  public ZVFloatingTextMessageFields {
 public:
  [[nodiscard]] json::RecordView asRecord() const override;
};

template <>
struct json::RecordOf<ZVStreamMessage> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVStatisticMessage> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVFloatingTextPosition> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVFloatingTextMessage> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

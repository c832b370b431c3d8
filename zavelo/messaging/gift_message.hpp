#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo {

/// How a gift is shown: `fromRawValue<ZVGiftAnimationType>(*gift.giftAnimationType)`.
enum class ZVGiftAnimationType : std::int64_t { combo = 0, json = 1, svga = 2 };
template <>
inline constexpr auto codedCases<ZVGiftAnimationType> =
    caseTable<ZVGiftAnimationType::combo, ZVGiftAnimationType::json, ZVGiftAnimationType::svga>();

/// What `ZVGiftMessage` adds.
struct ZVGiftMessageFields {
  std::optional<std::int64_t> giftId = {};  ///< in the catalogue
  std::optional<std::string> giftName = {};
  std::optional<std::string> giftImageLink = {};  ///< URL of the still image
  std::optional<std::int64_t> giftAnimationType =
      {};                                      ///< of `ZVGiftAnimationType`, or a newer kind
  std::optional<std::string> giftFile = {};    ///< URL of the animation
  std::optional<std::int64_t> giftCount = {};  ///< how many at once
  std::optional<bool> isCompleted = {};        ///< the combo has ended
};

/// A viewer gave a gift: everyone in the channel shows its animation.
class ZAVELO_EXPORT ZVGiftMessage final : public ZVStreamMessage, public ZVGiftMessageFields {
 public:
  [[nodiscard]] json::RecordView asRecord() const override;
};

template <>
struct json::RecordOf<ZVGiftMessage> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

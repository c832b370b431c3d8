#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo {

/// What the backend hands the giver of a gift to tell the channel.
struct ZVGiftMessageData {
  std::optional<std::int64_t> userId = {};  ///< the sender
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::string> message = {};
  std::optional<std::string> messageType = {};  ///< a text here, unlike in the event itself
  std::optional<std::string> giftImageLink = {};
  std::optional<std::int64_t> receiverStars = {};  ///< after the gift
  std::optional<std::string> profilePic = {};
  std::optional<std::int64_t> rank = {};  ///< the sender's, among the receiver's fans
  std::optional<bool> isComboGift = {};
};

template <>
struct json::RecordOf<ZVGiftMessageData> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

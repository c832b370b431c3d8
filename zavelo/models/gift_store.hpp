#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/models/gift_message_data.hpp"

namespace zavelo {

/// One gift on offer. Codes are the backend's.
struct ZVGift {
  std::optional<std::int64_t> amount = {};
  std::optional<std::int64_t> orderIndex = {};  ///< in the catalogue
  std::optional<std::int64_t> giftId = {};      ///< names the gift when it is given
  std::optional<std::string> giftName = {};
  std::optional<std::int64_t> costGold = {};
  std::optional<std::int64_t> costBean = {};
  std::optional<std::string> giftImage = {};  ///< URL
  std::optional<std::int64_t> giftType = {};
  std::optional<std::string> giftFile = {};            ///< URL
  std::optional<std::int64_t> giftAnimationType = {};  ///< of `ZVGiftAnimationType`
  std::optional<std::int64_t> giftCategory = {};
  std::optional<std::string> giftCategoryName = {};
  std::optional<std::int64_t> giftCategoryOrderIndex = {};
};

/// The catalogue: the answer of "/api/gifts/store".
struct ZVGiftStore {
  std::optional<std::int64_t> totalBean = {};
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::vector<ZVGift>> gifts = {};
};

/// One page of a gift picker.
struct ZAVELO_EXPORT ZVGiftCategory {
  std::int64_t categoryOrder = 0;
  std::string categoryName = {};
  std::vector<ZVGift> gifts = {};

  /// The gifts by the name of their category (none is the empty name), in the order given; the
  /// categories in the order that the first gift of each tells (none is 0). Which of two categories
  /// of the same order comes first is not defined.
  [[nodiscard]] static std::vector<ZVGiftCategory> groupCategory(std::vector<ZVGift> from);
};

/// What somebody owns after a gift.
struct ZVGiftValue {
  std::optional<std::int64_t> totalBean = {};
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::int64_t> totalGoldFans = {};
  std::optional<std::int64_t> amount = {};
};

/// How the gift that was given looks.
struct ZVGifts {
  std::optional<std::int64_t> giftColor = {};
  std::optional<std::string> giftImage = {};  ///< URL
};

/// One of today's top givers.
struct ZVDailyTopFan {
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::string> giftGoldString = {};  ///< as it is shown
  std::optional<std::int64_t> giftGold = {};       ///< the same as a number
  std::optional<std::int64_t> order = {};          ///< the rank
};

/// The answer of "/api/gifts/send-gift".
struct ZVSentGift {
  std::optional<ZVGiftValue> sender = {};
  std::optional<ZVGiftValue> receiver = {};
  std::optional<ZVGifts> gifts = {};
  std::optional<std::vector<std::string>> rankingList = {};
  std::optional<std::vector<ZVDailyTopFan>> dailyTopFans = {};
  std::optional<ZVGiftMessageData> messageData = {};
};

template <>
struct json::RecordOf<ZVGift> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVGiftStore> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVGiftValue> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVGifts> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVDailyTopFan> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVSentGift> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

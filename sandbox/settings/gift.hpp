#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zavelo/messaging/gift_message.hpp"

namespace zavelo::sandbox {

/// Dearer ones would not fit a wallet many times over.
inline constexpr double dearestGift = 1'000'000;

struct GiftCategory {
  std::int64_t id = 0;
  std::string name;
  std::int64_t orderIndex = 0;
};

/// A gift on offer.
struct Gift {
  std::int64_t id = 0;
  std::string name;
  std::string symbol;  ///< a character that its picture is drawn with
  std::int64_t gold = 0;
  std::int64_t color = 0;  ///< 0xRRGGBB
  ZVGiftAnimationType animation = ZVGiftAnimationType::combo;
  GiftCategory category;
  std::string image{};  ///< address; empty: drawn by the sandbox
  std::string file{};   ///< address of the animation; empty: drawn too, as far as the kind has one
};

[[nodiscard]] std::vector<Gift> builtInGifts();

}  // namespace zavelo::sandbox

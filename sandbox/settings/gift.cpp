#include "sandbox/settings/gift.hpp"

namespace zavelo::sandbox {

std::vector<Gift> builtInGifts() {
  using enum ZVGiftAnimationType;
  const GiftCategory popular{1, "Popular", 1};
  const GiftCategory party{2, "Party", 2};
  const GiftCategory luxury{3, "Luxury", 3};
  return {
      {1, "Rose", "🌹", 1, 0xE0245E, combo, popular},
      {2, "Heart", "❤", 5, 0xF2545B, combo, popular},
      {3, "Coffee", "☕", 10, 0x8D6E63, combo, popular},
      {4, "Balloon", "🎈", 20, 0xFF7043, combo, party},
      {5, "Cake", "🎂", 50, 0xF6BF26, json, party},
      {6, "Fireworks", "🎆", 100, 0x5C6BC0, json, party},
      {7, "Ring", "💍", 500, 0x26A69A, json, luxury},
      {8, "Crown", "👑", 1000, 0xD4A017, json, luxury},
      {9, "Rocket", "🚀", 5000, 0x7E57C2, json, luxury},
  };
}

}  // namespace zavelo::sandbox

#include "zavelo/models/gift_store.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "zavelo/json/record.hpp"

namespace zavelo {

namespace json {

const Record& RecordOf<ZVGift>::get() {
  using T = ZVGift;
  static const Record record =
      fieldsOf<T, &T::amount, &T::orderIndex, &T::giftId, &T::giftName, &T::costGold, &T::costBean,
               &T::giftImage, &T::giftType, &T::giftFile, &T::giftAnimationType, &T::giftCategory,
               &T::giftCategoryName, &T::giftCategoryOrderIndex>();
  return record;
}

const Record& RecordOf<ZVGiftStore>::get() {
  using T = ZVGiftStore;
  static const Record record = fieldsOf<T, &T::totalBean, &T::totalGold, &T::gifts>();
  return record;
}

const Record& RecordOf<ZVGiftValue>::get() {
  using T = ZVGiftValue;
  static const Record record =
      fieldsOf<T, &T::totalBean, &T::totalGold, &T::totalGoldFans, &T::amount>();
  return record;
}

const Record& RecordOf<ZVGifts>::get() {
  using T = ZVGifts;
  static const Record record = fieldsOf<T, &T::giftColor, &T::giftImage>();
  return record;
}

const Record& RecordOf<ZVDailyTopFan>::get() {
  using T = ZVDailyTopFan;
  static const Record record =
      fieldsOf<T, &T::userName, &T::displayName, &T::giftGoldString, &T::giftGold, &T::order>();
  return record;
}

const Record& RecordOf<ZVSentGift>::get() {
  using T = ZVSentGift;
  static const Record record = fieldsOf<T, &T::sender, &T::receiver, &T::gifts, &T::rankingList,
                                        &T::dailyTopFans, &T::messageData>();
  return record;
}

}  // namespace json

std::vector<ZVGiftCategory> ZVGiftCategory::groupCategory(std::vector<ZVGift> from) {
  std::vector<ZVGiftCategory> categories;
  std::unordered_map<std::string, std::size_t> places;
  for (ZVGift& gift : from) {
    std::string name = gift.giftCategoryName.value_or("");
    const auto [known, isNew] = places.try_emplace(name, categories.size());
    if (isNew) categories.push_back({gift.giftCategoryOrderIndex.value_or(0), std::move(name), {}});
    categories[known->second].gifts.push_back(std::move(gift));
  }
  std::sort(categories.begin(), categories.end(),
            [](const auto& a, const auto& b) { return a.categoryOrder < b.categoryOrder; });
  return categories;
}

}  // namespace zavelo

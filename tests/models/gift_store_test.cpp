#include "zavelo/models/gift_store.hpp"

#include <gtest/gtest.h>

#include "tests/models/expect_kept.hpp"
#include "tests/support/fault_of.hpp"

namespace zavelo {
namespace {

ZVGift gift(std::string name, std::optional<std::string> category,
            std::optional<std::int64_t> order) {
  ZVGift made;
  made.giftName = std::move(name);
  made.giftCategoryName = std::move(category);
  made.giftCategoryOrderIndex = order;
  return made;
}

/// "0 New: B; 2 Hot: A C; "
std::string summary(const std::vector<ZVGiftCategory>& categories) {
  std::string text;
  for (const auto& category : categories) {
    text += std::to_string(category.categoryOrder) + " " + category.categoryName + ":";
    for (const auto& each : category.gifts) text += " " + *each.giftName;
    text += "; ";
  }
  return text;
}

TEST(GiftRecords, KeepEveryFieldUnderItsKeyAndOmitWhatIsAbsent) {
  expectKept<ZVGiftStore>(
      R"({"totalBean":1,"totalGold":2,"gifts":[{"amount":3,"orderIndex":4,"giftId":5,)"
      R"("giftName":"n","costGold":6,"costBean":7,"giftImage":"i","giftType":8,"giftFile":"f",)"
      R"("giftAnimationType":9,"giftCategory":10,"giftCategoryName":"c",)"
      R"("giftCategoryOrderIndex":11},{}]})");
  expectKept<ZVSentGift>(
      R"({"sender":{"totalBean":1,"totalGold":2,"totalGoldFans":3,"amount":4},"receiver":{},)"
      R"("gifts":{"giftColor":5,"giftImage":"i"},"rankingList":["a","b"],)"
      R"("dailyTopFans":[{"userName":"u","displayName":"d","giftGoldString":"1k","giftGold":1000,)"
      R"("order":1}],"messageData":{"userId":6,"userName":"u","displayName":"d","message":"m",)"
      R"("messageType":"7","giftImageLink":"i","receiverStars":8,"profilePic":"p","rank":9,)"
      R"("isComboGift":true}})");
  EXPECT_EQ(json::decode<ZVGiftStore>(R"({"gifts":null})")->gifts, std::nullopt);
  EXPECT_EQ(faultOf<ZVGiftStore>(R"({"gifts":[{},{"giftId":"5"}]})"),
            "gifts[1].giftId: expected integer");
}

TEST(GiftCategory, GroupsByNameAndSortsByTheFirstGiftOfEach) {
  EXPECT_EQ(summary(ZVGiftCategory::groupCategory(
                {gift("A", "Hot", 2), gift("B", "New", 1), gift("C", "Hot", 5)})),
            "1 New: B; 2 Hot: A C; ");
  EXPECT_EQ(summary(ZVGiftCategory::groupCategory({gift("A", "Hot", 1), gift("B", "New", {}),
                                                   gift("C", "New", 9), gift("D", {}, -1),
                                                   gift("E", "", 3)})),
            "-1 : D E; 0 New: B C; 1 Hot: A; ");
  EXPECT_TRUE(ZVGiftCategory::groupCategory({}).empty());
}

}  // namespace
}  // namespace zavelo

#include "tools/zavelo/operations/catalogue.hpp"
#include "tools/zavelo/terminal/readable.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/services/gift_service.hpp"

namespace zavelo::command {
namespace {

void addPrice(std::string& line, const std::optional<std::int64_t>& price, const char* currency) {
  if (price) line += "  " + numberText(*price) + " " + currency;
}

/// "  3  Rose  10 gold"
std::string giftLine(const ZVGift& gift) {
  std::string line = "  " + (gift.giftId ? numberText(*gift.giftId) : "?");
  line += "  " + printable(gift.giftName.value_or("nameless"));
  addPrice(line, gift.costGold, "gold");
  addPrice(line, gift.costBean, "bean");
  return line + "\n";
}

/// The gifts by category, as a gift picker shows them.
std::string pickerText(const std::string& json) {
  auto store = json::decode<ZVGiftStore>(json);
  if (!store) return json + "\n";
  std::string text = "you have " + numberText(store->totalGold.value_or(0)) + " gold, " +
                     numberText(store->totalBean.value_or(0)) + " bean\n";
  for (const auto& category :
       ZVGiftCategory::groupCategory(std::move(store->gifts).value_or(std::vector<ZVGift>()))) {
    text +=
        (category.categoryName.empty() ? "without a category" : printable(category.categoryName)) +
        "\n";
    for (const auto& gift : category.gifts) text += giftLine(gift);
  }
  return text;
}

Operation storeOperation() {
  auto store = operation<&ZVGiftService::getGiftStore>(
      "List the gifts on offer by category, and what one owns");
  store.name = "store";
  store.readable = &pickerText;
  return store;
}

}  // namespace

Group giftGroup() {
  return {"gift",
          "Gifts to a broadcaster",
          {
              storeOperation(),
              operation<&ZVGiftService::sendGift>("Give a gift to a user who broadcasts", "slug",
                                                  "giftId", "amount", "receiverId"),
          }};
}

}  // namespace zavelo::command

#include "sandbox/gifts/gift_record.hpp"

#include <iterator>
#include <utility>

#include "sandbox/gifts/fans.hpp"
#include "sandbox/gifts/gift_pictures.hpp"
#include "zavelo/messaging/message_type.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::int64_t fansShown = 10;

/// "1,234,567"
std::string grouped(std::int64_t number) {
  std::string text = std::to_string(number);
  for (auto place = std::ssize(text) - 3; place > 0; place -= 3) {
    text.insert(static_cast<std::size_t>(place), ",");
  }
  return text;
}

std::string chatText(const GivenGift& given) {
  return "sent " + std::to_string(given.amount) + " x " + given.gift.name;
}

ZVGiftValue walletOf(const Member& member, std::int64_t amount) {
  return {.totalBean = member.beans,
          .totalGold = member.gold,
          .totalGoldFans = member.goldFromFans,
          .amount = amount};
}

ZVGiftMessageData messageDataOf(const GivenGift& given, const std::string& site) {
  const auto profile = profileOf(given.sender, site);
  return {.userId = profile.userId,
          .userName = profile.userName,
          .displayName = profile.displayName,
          .message = chatText(given),
          .messageType = std::to_string(rawValue(ZVMessageType::gift)),
          .giftImageLink = imageAddress(given.gift, site),
          .receiverStars = given.receiver.goldFromFans,
          .profilePic = profile.userImage,
          .rank = given.rank,
          .isComboGift = given.gift.animation == ZVGiftAnimationType::combo};
}

}  // namespace

ZVGift recordOf(const Gift& gift, std::int64_t orderIndex, const std::string& site) {
  return {.amount = 1,
          .orderIndex = orderIndex,
          .giftId = gift.id,
          .giftName = gift.name,
          .costGold = gift.gold,
          .costBean = gift.gold,
          .giftImage = imageAddress(gift, site),
          .giftType = gift.animation == ZVGiftAnimationType::combo ? 0 : 1,
          .giftFile = animationAddress(gift, site),
          .giftAnimationType = rawValue(gift.animation),
          .giftCategory = gift.category.id,
          .giftCategoryName = gift.category.name,
          .giftCategoryOrderIndex = gift.category.orderIndex};
}

ZVSentGift recordOf(Transaction& transaction, const GivenGift& given, const std::string& site,
                    Time now) {
  ZVSentGift record;
  record.sender = walletOf(given.sender, given.gold);
  record.receiver = walletOf(given.receiver, given.gold);
  record.gifts =
      ZVGifts{.giftColor = given.gift.color, .giftImage = imageAddress(given.gift, site)};
  record.rankingList.emplace();
  for (auto& fan : topFansOf(transaction, given.receiver.id, Time{}, fansShown)) {
    record.rankingList->push_back(std::move(fan.userName));
  }
  record.dailyTopFans.emplace();
  for (auto& fan : topFansOf(transaction, given.receiver.id, startOfDay(now), fansShown)) {
    record.dailyTopFans->push_back({.userName = std::move(fan.userName),
                                    .displayName = std::move(fan.displayName),
                                    .giftGoldString = grouped(fan.gold),
                                    .giftGold = fan.gold,
                                    .order = std::ssize(*record.dailyTopFans) + 1});
  }
  record.messageData = messageDataOf(given, site);
  return record;
}

std::shared_ptr<ZVGiftMessage> messageOf(const GivenGift& given, const std::string& site) {
  const auto profile = profileOf(given.sender, site);
  auto message = std::make_shared<ZVGiftMessage>();
  message->senderUserId = profile.userId;
  message->senderUserName = profile.userName;
  message->senderDisplayName = profile.displayName;
  message->senderAvatar = profile.userImage;
  message->messageType = rawValue(ZVMessageType::gift);
  message->message = chatText(given);
  message->receiverStars = given.receiver.goldFromFans;
  message->targetUsername = given.receiver.userName;
  message->giftId = given.gift.id;
  message->giftName = given.gift.name;
  message->giftImageLink = imageAddress(given.gift, site);
  message->giftAnimationType = rawValue(given.gift.animation);
  message->giftFile = animationAddress(given.gift, site);
  message->giftCount = given.amount;
  message->isCompleted = true;
  return message;
}

}  // namespace zavelo::sandbox

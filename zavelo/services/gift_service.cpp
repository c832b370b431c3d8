#include "zavelo/services/gift_service.hpp"

#include <utility>

#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {

std::shared_ptr<ZVGiftService> ZVGiftService::create(Collaborators collaborators) {
  return std::shared_ptr<ZVGiftService>(new ZVGiftService(std::move(collaborators)));
}

ZVAPICall<ZVGiftStore> ZVGiftService::getGiftStore(ZVCompletion<ZVGiftStore> completion) {
  return detail::call(*deps_.service, ZVAPI::getGiftStore, json::Object{}, std::move(completion));
}

ZVAPICall<ZVSentGift> ZVGiftService::sendGift(const std::string& slug, std::int64_t giftId,
                                              std::int64_t amount,
                                              std::optional<std::int64_t> receiverId,
                                              ZVCompletion<ZVSentGift> completion) {
  json::Object parameters{{"slug", slug}, {"giftId", giftId}, {"amount", amount}};
  if (receiverId) parameters.set("receiverId", *receiverId);
  return detail::call(*deps_.service, ZVAPI::sendGift, std::move(parameters),
                      std::move(completion));
}

}  // namespace zavelo

#include "zavelo/models/gift_message_data.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo {

const json::Record& json::RecordOf<ZVGiftMessageData>::get() {
  using T = ZVGiftMessageData;
  static const Record record =
      fieldsOf<T, &T::userId, &T::userName, &T::displayName, &T::message, &T::messageType,
               &T::giftImageLink, &T::receiverStars, &T::profilePic, &T::rank, &T::isComboGift>();
  return record;
}

}  // namespace zavelo

#include "zavelo/messaging/gift_message.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo {

const json::Record& json::RecordOf<ZVGiftMessage>::get() {
  using T = ZVGiftMessage;
  static const Record record =
      subclassFieldsOf<T, ZVStreamMessage, &T::giftId, &T::giftName, &T::giftImageLink,
                       &T::giftAnimationType, &T::giftFile, &T::giftCount, &T::isCompleted>();
  return record;
}

json::RecordView ZVGiftMessage::asRecord() const {
  return json::viewOf(*this);
}

}  // namespace zavelo

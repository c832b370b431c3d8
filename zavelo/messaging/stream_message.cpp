#include "zavelo/messaging/stream_message.hpp"

#include <utility>

#include "zavelo/json/record.hpp"

namespace zavelo {

namespace json {

const Record& RecordOf<ZVStreamMessage>::get() {
  using T = ZVStreamMessage;
  static const Record record =
      fieldsOf<T, &T::senderUserId, &T::senderUserName, &T::senderDisplayName, &T::senderAvatar,
               &T::messageType, &T::message, &T::shouldShowLikeMessage, &T::recordedTime,
               &T::receiverStars, &T::targetUsername>(AbsentFields::null);
  return record;
}

const Record& RecordOf<ZVStatisticMessage>::get() {
  using T = ZVStatisticMessage;
  static const Record record =
      subclassFieldsOf<T, ZVStreamMessage, &T::slug, &T::streamDuration, &T::totalViewers,
                       &T::totalLikes, &T::totalReceivedStars, &T::gender, &T::isShowLike,
                       &T::isShowView, &T::promoCode, &T::promoCodeDescription,
                       &T::placingOrderCount, &T::cartUrl, &T::bitRate, &T::maxBitRate>();
  return record;
}

const Record& RecordOf<ZVFloatingTextPosition>::get() {
  using T = ZVFloatingTextPosition;
  static const Record record = fieldsOf<T, &T::x, &T::y>();
  return record;
}

const Record& RecordOf<ZVFloatingTextMessage>::get() {
  using T = ZVFloatingTextMessage;
  static const Record record =
      subclassFieldsOf<T, ZVStreamMessage, &T::content, &T::streamTitleColor, &T::position>();
  return record;
}

}  // namespace json

ZVStreamMessage::ZVStreamMessage(ZVStreamMessageFields fields)
    : ZVStreamMessageFields(std::move(fields)) {}

ZVMessageType ZVStreamMessage::type() const {
  constexpr auto plain = ZVMessageType::message;
  return fromRawValue<ZVMessageType>(messageType.value_or(rawValue(plain))).value_or(plain);
}

bool ZVStreamMessage::isMine(const ZVCurrentUserSource& users) const {
  const auto user = users.currentUser();
  return user && user->userInfo && user->userInfo->userId && user->userInfo->userId == senderUserId;
}

bool ZVStreamMessage::isFrom(const std::string& senderId) const {
  return senderUserId && std::to_string(*senderUserId) == senderId;
}

std::shared_ptr<ZVStreamMessage> ZVStreamMessage::duplicate() const {
  return std::make_shared<ZVStreamMessage>(static_cast<const ZVStreamMessageFields&>(*this));
}

json::RecordView ZVStreamMessage::asRecord() const {
  return json::viewOf(*this);
}
json::RecordView ZVStatisticMessage::asRecord() const {
  return json::viewOf(*this);
}
json::RecordView ZVFloatingTextMessage::asRecord() const {
  return json::viewOf(*this);
}

}  // namespace zavelo

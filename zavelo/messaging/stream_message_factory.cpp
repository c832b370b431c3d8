#include "zavelo/messaging/stream_message_factory.hpp"

#include <utility>

#include "zavelo/messaging/gift_message.hpp"

namespace zavelo {
namespace {

std::shared_ptr<ZVStreamMessage> emptyRecord(ZVMessageType type) {
  switch (type) {
    case ZVMessageType::gift:
      return std::make_shared<ZVGiftMessage>();
    case ZVMessageType::floatingText:
      return std::make_shared<ZVFloatingTextMessage>();
    case ZVMessageType::statistic:
      return std::make_shared<ZVStatisticMessage>();
    default:
      return std::make_shared<ZVStreamMessage>();
  }
}

void stampSender(ZVStreamMessage& record, const ZVUser& user) {
  if (const auto profile = user.userInfo) {
    record.senderUserId = profile->userId;
    record.senderUserName = profile->userName;
    record.senderDisplayName = profile->displayName;
    record.senderAvatar = profile->userImage;
  } else {
    record.senderUserId = user.guestId;
    record.senderUserName = user.userName;
    record.senderDisplayName = "";
    record.senderAvatar = "";
  }
}

void stamp(ZVStreamMessage& record, ZVMessageType type, std::int64_t recordedTime,
           const ZVCurrentUserSource& users) {
  record.recordedTime = recordedTime;
  record.messageType = rawValue(type);
  if (const auto user = users.currentUser()) stampSender(record, *user);
}

}  // namespace

std::shared_ptr<ZVStreamMessage> ZVStreamMessageFactory::createMessage(
    std::string content, std::int64_t recordedTime, const ZVCurrentUserSource& users) const {
  auto record = emptyRecord(type);
  record->message = std::move(content);
  stamp(*record, type, recordedTime, users);
  return record;
}

std::shared_ptr<ZVPollMessage> ZVStreamMessageFactory::createPollMessage(
    std::shared_ptr<ZVPoll> poll, std::int64_t recordedTime,
    const ZVCurrentUserSource& users) const {
  auto record = std::make_shared<ZVPollMessage>();
  record->pollData = std::move(poll);
  stamp(*record, type, recordedTime, users);
  return record;
}

}  // namespace zavelo

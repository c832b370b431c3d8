#include "zavelo/messaging/message.hpp"

#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo {
namespace {

using Decoded = Result<std::shared_ptr<ZVStreamMessage>, json::Error>;

template <class T>
Decoded decodeAs(const std::string& text) {
  auto record = json::decode<std::shared_ptr<T>>(text);
  if (!record) return Failure{std::move(record).error()};
  return Decoded(std::move(record).value());
}

}  // namespace

const json::Record& json::RecordOf<ZVMessage>::get() {
  using T = ZVMessage;
  static const Record record = fieldsOf<T, &T::type, &T::message>();
  return record;
}

ZVMessage::ZVMessage(const ZVStreamMessage& record) {
  if (record.messageType) type = *record.messageType;
  if (auto text = record.toJsonString()) message = std::move(*text);
}

std::shared_ptr<ZVStreamMessage> ZVMessage::getStreamMessage() const {
  // Refers to this envelope without owning it: it may stand on the stack.
  return ZVMessageDecoder({std::shared_ptr<void>(), this}).decode();
}

json::RecordView ZVMessage::asRecord() const {
  return json::viewOf(*this);
}

std::shared_ptr<ZVStreamMessage> ZVMessageDecoder::decode() const {
  auto decoded = decodeOrFault();
  return decoded ? std::move(decoded).value() : nullptr;
}

Decoded ZVMessageDecoder::decodeOrFault() const {
  switch (message->type) {
    case rawValue(ZVMessageType::statistic):
      return decodeAs<ZVStatisticMessage>(message->message);
    case rawValue(ZVMessageType::floatingText):
      return decodeAs<ZVFloatingTextMessage>(message->message);
    case rawValue(ZVMessageType::gift):
      return decodeAs<ZVGiftMessage>(message->message);
    case rawValue(ZVMessageType::startPoll):
    case rawValue(ZVMessageType::stopPoll):
      return decodeAs<ZVPollMessage>(message->message);
    default:
      return decodeAs<ZVStreamMessage>(message->message);
  }
}

}  // namespace zavelo

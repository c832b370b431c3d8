#include "zavelo/messaging/observe.hpp"

#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo {

std::optional<ZVChannelEvent> ZVChannelEvent::decode(const ZVRTMChannelMessage& message) {
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(message.message);
  auto event = envelope ? (*envelope)->getStreamMessage() : nullptr;
  if (!event) return std::nullopt;
  return ZVChannelEvent{message.channelId, message.senderId, (*envelope)->type, std::move(event)};
}

}  // namespace zavelo

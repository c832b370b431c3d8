#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench/member_list.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::bench {

/// Each contender takes an event out of the text of its envelope, and writes such a text.
struct ChatContender {
  const char* name;
  std::shared_ptr<ZVStreamMessage> (*decode)(const std::string& envelope);
  std::string (*encode)(const ZVStreamMessage& event);
};
extern const ChatContender nlohmannChat;
extern const ChatContender rapidjsonChat;

using RecordedEvents = std::vector<std::shared_ptr<ZVStreamMessage>>;
/// Each contender reads a saved chat, the polls of it behind all other events.
struct RecordedContender {
  const char* name;
  RecordedEvents (*decode)(const std::string& file);
};
extern const RecordedContender nlohmannRecorded;
extern const RecordedContender rapidjsonRecorded;
extern const RecordedContender rapidjsonSaxRecorded;

template <>
struct FieldsOf<ZVStreamMessage>
    : MemberList<&ZVStreamMessage::senderUserId, &ZVStreamMessage::senderUserName,
                 &ZVStreamMessage::senderDisplayName, &ZVStreamMessage::senderAvatar,
                 &ZVStreamMessage::messageType, &ZVStreamMessage::message,
                 &ZVStreamMessage::shouldShowLikeMessage, &ZVStreamMessage::recordedTime,
                 &ZVStreamMessage::receiverStars, &ZVStreamMessage::targetUsername> {};

/// An event's own fields, then those of every event.
template <auto... Members>
struct EventFields {
  template <class Record, class Each>
  static void forEach(Record& record, const Each& each) {
    MemberList<Members...>::forEach(record, each);
    FieldsOf<ZVStreamMessage>::forEach(record, each);
  }
};

template <>
struct FieldsOf<ZVGiftMessage>
    : EventFields<&ZVGiftMessage::giftId, &ZVGiftMessage::giftName, &ZVGiftMessage::giftImageLink,
                  &ZVGiftMessage::giftAnimationType, &ZVGiftMessage::giftFile,
                  &ZVGiftMessage::giftCount, &ZVGiftMessage::isCompleted> {};

template <>
struct FieldsOf<ZVPoll>
    : MemberList<&ZVPoll::id, &ZVPoll::title, &ZVPoll::question, &ZVPoll::option1, &ZVPoll::option2,
                 &ZVPoll::option3, &ZVPoll::status, &ZVPoll::numOption1, &ZVPoll::numOption2,
                 &ZVPoll::numOption3, &ZVPoll::total> {};
template <>
struct FieldsOf<ZVPollMessage> : EventFields<&ZVPollMessage::pollData> {};

template <>
struct FieldsOf<ZVStatisticMessage>
    : EventFields<&ZVStatisticMessage::slug, &ZVStatisticMessage::streamDuration,
                  &ZVStatisticMessage::totalViewers, &ZVStatisticMessage::totalLikes,
                  &ZVStatisticMessage::totalReceivedStars, &ZVStatisticMessage::gender,
                  &ZVStatisticMessage::isShowLike, &ZVStatisticMessage::isShowView,
                  &ZVStatisticMessage::promoCode, &ZVStatisticMessage::promoCodeDescription,
                  &ZVStatisticMessage::placingOrderCount, &ZVStatisticMessage::cartUrl,
                  &ZVStatisticMessage::bitRate, &ZVStatisticMessage::maxBitRate> {};

/// Reads each element of a list as an event, with readAs(element, shared pointer); polls go behind
/// the others.
template <class List, class TypeOf, class ReadAs>
RecordedEvents recordedEvents(const List& list, const TypeOf& typeOf, const ReadAs& readAs) {
  RecordedEvents events;
  RecordedEvents polls;
  for (const auto& element : list) {
    const std::int64_t type = typeOf(element);
    if (type == rawValue(ZVMessageType::startPoll) || type == rawValue(ZVMessageType::stopPoll)) {
      std::shared_ptr<ZVPollMessage> poll;
      readAs(element, poll);
      polls.push_back(std::move(poll));
    } else {
      readAs(element, events.emplace_back());
    }
  }
  events.insert(events.end(), polls.begin(), polls.end());
  return events;
}

/// Calls use(std::type_identity<T>()) with the class T of the events of a type.
template <class Use>
auto withClassOf(std::int64_t type, const Use& use) {
  switch (type) {
    case rawValue(ZVMessageType::gift):
      return use(std::type_identity<ZVGiftMessage>());
    case rawValue(ZVMessageType::statistic):
      return use(std::type_identity<ZVStatisticMessage>());
    case rawValue(ZVMessageType::startPoll):
    case rawValue(ZVMessageType::stopPoll):
      return use(std::type_identity<ZVPollMessage>());
    default:
      return use(std::type_identity<ZVStreamMessage>());
  }
}

/// The same for one event.
template <class Use>
auto withClassOf(const ZVStreamMessage& event, const Use& use) {
  return withClassOf(*event.messageType, [&]<class T>(std::type_identity<T>) {
    return use(static_cast<const T&>(event));
  });
}

}  // namespace zavelo::bench

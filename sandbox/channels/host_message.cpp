#include "sandbox/channels/host_message.hpp"

#include <utility>

#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::sandbox {

HostMessages::HostMessages(Transaction& transaction, const Stream& stream, std::string site,
                           Time now)
    : stream_(stream),
      host_(*memberById(transaction, stream.owner)),
      site_(std::move(site)),
      secondsLive_(secondsLive(stream, now)) {}

/// `recordedTime`: milliseconds live, which is the position in the recording.
template <class Message>
std::shared_ptr<Message> HostMessages::signedBy(ZVMessageType kind) const {
  auto message = std::make_shared<Message>();
  message->senderUserId = host_.id;
  message->senderUserName = host_.userName;
  message->senderDisplayName = host_.displayName;
  message->senderAvatar = profileOf(host_, site_).userImage;
  message->messageType = rawValue(kind);
  message->recordedTime = 1000 * secondsLive_;
  return message;
}

std::shared_ptr<ZVStreamMessage> HostMessages::statistic() const {
  auto message = signedBy<ZVStatisticMessage>(ZVMessageType::statistic);
  message->slug = stream_.slug;
  message->streamDuration = secondsLive_;
  message->totalViewers = stream_.viewCount;
  message->totalLikes = stream_.likeCount;
  message->totalReceivedStars = message->receiverStars = stream_.totalGold;
  message->isShowLike = message->isShowView = true;
  message->promoCode = host_.promoCode;
  message->promoCodeDescription = host_.promoDescription;
  return message;
}

std::shared_ptr<ZVStreamMessage> HostMessages::poll(const Poll& poll) const {
  auto message = signedBy<ZVPollMessage>(
      poll.status == PollStatus::running ? ZVMessageType::startPoll : ZVMessageType::stopPoll);
  message->message = poll.question;
  message->pollData = recordOf(poll);
  return message;
}

std::shared_ptr<ZVStreamMessage> HostMessages::floatingText(
    ZVFloatingTextMessageFields fields) const {
  auto message = signedBy<ZVFloatingTextMessage>(ZVMessageType::floatingText);
  message->message = fields.content;
  static_cast<ZVFloatingTextMessageFields&>(*message) = std::move(fields);
  return message;
}

std::shared_ptr<ZVStreamMessage> HostMessages::about(const Member& target,
                                                     ZVMessageType kind) const {
  auto message = signedBy<ZVStreamMessage>(kind);
  message->targetUsername = target.userName;
  return message;
}

}  // namespace zavelo::sandbox

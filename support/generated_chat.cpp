#include "support/generated_chat.hpp"

#include <iterator>

#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::test {

std::uint64_t GeneratedChat::below(std::uint64_t limit) {
  state_ ^= state_ << 13;
  state_ ^= state_ >> 7;
  state_ ^= state_ << 17;
  return (state_ >> 2) % limit;
}

ZVMessageType GeneratedChat::someType() {
  const std::uint64_t share = below(100);
  if (share < 80) return ZVMessageType::message;
  if (share < 87) return ZVMessageType::like;
  if (share < 93) return ZVMessageType::viewerJoined;
  if (share < 96) return ZVMessageType::gift;
  if (share < 98) return ZVMessageType::statistic;
  if (share < 99) return ZVMessageType::floatingText;
  return below(2) == 0 ? ZVMessageType::startPoll : ZVMessageType::stopPoll;
}

std::string GeneratedChat::someLine() {
  static const char* const words[] = {"live",  "hello",  "how",    "much",      "is",
                                      "the",   "red",    "one",    "wow",       "please",
                                      "song",  "buy",    "size",   "caf\u00e9", "love",
                                      "again", "stream", "\"ok\"", "\U0001F525"};
  std::string line;
  for (auto left = 1 + below(1 + below(48)); left > 0; --left)
    line.append(words[below(std::size(words))]).append(left > 1 ? " " : "");
  return line;
}

std::string GeneratedChat::someUrl(std::string_view folder, std::string_view ending) {
  return std::string("https://cdn.example.com/")
      .append(folder)
      .append("/")
      .append(std::to_string(1'000'000'000 + below(1'000'000'000)))
      .append(ending);
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::gift() {
  auto gift = std::make_shared<ZVGiftMessage>();
  gift->giftId = static_cast<std::int64_t>(below(500));
  gift->giftName = "Rose " + std::to_string(*gift->giftId);
  gift->giftImageLink = someUrl("gifts", ".png");
  gift->giftAnimationType = static_cast<std::int64_t>(below(3));
  gift->giftFile = someUrl("gifts", ".svga");
  gift->giftCount = static_cast<std::int64_t>(1 + below(99));
  gift->isCompleted = below(2) == 0;
  return gift;
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::poll() {
  auto message = std::make_shared<ZVPollMessage>();
  auto poll = message->pollData = std::make_shared<ZVPoll>();
  poll->id = static_cast<std::int64_t>(below(100'000));
  poll->title = "Poll " + std::to_string(*poll->id);
  poll->question = someLine();
  poll->option1 = someLine();
  poll->option2 = someLine();
  poll->option3 = "";
  poll->status = 1;
  poll->numOption1 = static_cast<std::int64_t>(below(5'000));
  poll->numOption2 = static_cast<std::int64_t>(below(5'000));
  poll->numOption3 = 0;
  poll->total = *poll->numOption1 + *poll->numOption2;
  return message;
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::statistic() {
  auto statistic = std::make_shared<ZVStatisticMessage>();
  statistic->slug = "stream-" + std::to_string(below(1'000'000));
  statistic->streamDuration = time_ / 1000;
  statistic->totalViewers = static_cast<std::int64_t>(below(100'000));
  statistic->totalLikes = static_cast<std::int64_t>(below(1'000'000));
  statistic->totalReceivedStars = static_cast<std::int64_t>(below(1'000'000));
  statistic->gender = static_cast<std::int64_t>(below(3));
  statistic->isShowLike = true;
  statistic->isShowView = below(2) == 0;
  statistic->promoCode = "SALE" + std::to_string(below(100));
  statistic->promoCodeDescription = someLine();
  statistic->placingOrderCount = static_cast<std::int64_t>(below(1'000));
  statistic->cartUrl = someUrl("carts", "");
  statistic->bitRate = 2'500'000;
  statistic->maxBitRate = 4'000'000;
  return statistic;
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::floatingText() {
  auto text = std::make_shared<ZVFloatingTextMessage>();
  text->content = someLine();
  text->streamTitleColor = "#FF8800";
  text->position = std::make_shared<ZVFloatingTextPosition>();
  text->position->x = static_cast<double>(below(1000)) / 1000;
  text->position->y = static_cast<double>(below(1000)) / 1000;
  return text;
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::ofKind(ZVMessageType type) {
  switch (type) {
    case ZVMessageType::gift:
      return gift();
    case ZVMessageType::statistic:
      return statistic();
    case ZVMessageType::floatingText:
      return floatingText();
    case ZVMessageType::startPoll:
    case ZVMessageType::stopPoll:
      return poll();
    default:
      return std::make_shared<ZVStreamMessage>();
  }
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::next() {
  return next(someType());
}

std::shared_ptr<ZVStreamMessage> GeneratedChat::next(ZVMessageType type) {
  auto event = ofKind(type);
  time_ += static_cast<std::int64_t>(below(100));
  event->senderUserId = static_cast<std::int64_t>(100'000 + below(50'000'000));
  event->senderUserName = "viewer_" + std::to_string(*event->senderUserId);
  event->senderDisplayName = "Viewer " + std::to_string(below(10'000));
  event->senderAvatar = someUrl("avatars", "/200x200.jpg");
  event->messageType = rawValue(type);
  event->message = someLine();
  if (type == ZVMessageType::like) event->shouldShowLikeMessage = below(2) == 0;
  event->recordedTime = time_;
  if (type == ZVMessageType::gift) event->receiverStars = static_cast<std::int64_t>(below(1'000));
  return event;
}

std::string generatedChatFile(std::size_t events) {
  GeneratedChat chat;
  std::string file = "[";
  for (std::size_t i = 0; i < events; ++i)
    file.append(i == 0 ? "" : ",").append(chat.next()->toJsonString().value());
  return file += "]";
}

}  // namespace zavelo::test

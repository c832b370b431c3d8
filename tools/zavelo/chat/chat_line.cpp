#include "tools/zavelo/chat/chat_line.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

#include "tools/zavelo/arguments/option_name.hpp"
#include "tools/zavelo/terminal/readable.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::command {
namespace {

json::Object lineObject(std::string_view channel, const std::string& kind) {
  json::Object object;
  if (!channel.empty()) object.set("channel", channel);
  object.set("kind", kind);
  return object;
}

std::string encoded(json::Object object) {
  const auto line = json::encode(json::Value(std::move(object)));
  return line ? line.value() : "null";
}

/// Adds a fact behind the others, "12 viewers"; an absent one is left out.
template <class T>
void addFact(std::string& facts, const std::optional<T>& value, const std::string& what) {
  if (value) facts += (facts.empty() ? "" : ", ") + numberText(*value) + " " + what;
}

}  // namespace

std::string statisticText(const ZVStatisticMessage& event) {
  std::string facts;
  addFact(facts, event.totalViewers, "viewers");
  addFact(facts, event.totalLikes, "likes");
  addFact(facts, event.totalReceivedStars, "stars");
  addFact(facts, event.placingOrderCount, "orders");
  addFact(facts, event.bitRate, "bit/s");
  return facts;
}

namespace {

std::string giftText(const ZVGiftMessage& event) {
  const std::string id = event.giftId ? numberText(*event.giftId) : "?";
  return numberText(event.giftCount.value_or(1)) + " x " + event.giftName.value_or("gift " + id);
}

std::string floatingText(const ZVFloatingTextMessage& event) {
  std::string text = event.content.value_or(event.message.value_or(""));
  const auto& at = event.position;
  if (at && at->x && at->y) text += " at " + numberText(*at->x) + ", " + numberText(*at->y);
  return text;
}

std::string pollText(const ZVPoll& poll) {
  std::string text = poll.question.value_or(poll.title.value_or(""));
  for (const auto& option : poll.options())
    text += " | " + numberText(option.id) + " " + option.option + ": " +
            numberText(option.numOption) + " (" +
            numberText(static_cast<std::int64_t>(std::lround(option.percent()))) + "%)";
  return text;
}

/// What the event says, by its class.
std::string contentOf(const ZVStreamMessage& event) {
  if (const auto* statistic = dynamic_cast<const ZVStatisticMessage*>(&event))
    return statisticText(*statistic);
  if (const auto* gift = dynamic_cast<const ZVGiftMessage*>(&event)) return giftText(*gift);
  if (const auto* floating = dynamic_cast<const ZVFloatingTextMessage*>(&event))
    return floatingText(*floating);
  if (const auto* poll = dynamic_cast<const ZVPollMessage*>(&event); poll && poll->pollData)
    return pollText(*poll->pollData);
  return event.message.value_or("");
}

std::string senderOf(const ZVStreamMessage& event) {
  for (const auto& name : {event.senderDisplayName, event.senderUserName})
    if (name && !name->empty()) return *name;
  return event.senderUserId ? "user " + numberText(*event.senderUserId) : "somebody";
}

/// "[host muted] Ann > bob: too loud"; a chat line goes without its kind.
std::string sentence(const std::string& kind, bool isChatLine, const ZVStreamMessage& event) {
  std::string words = kebabCase(kind);
  std::ranges::replace(words, '-', ' ');
  std::string text = isChatLine ? "" : "[" + words + "] ";
  text += senderOf(event);
  if (event.targetUsername && !event.targetUsername->empty()) text += " > " + *event.targetUsername;
  const std::string content = contentOf(event);
  return content.empty() ? text : text + ": " + content;
}

}  // namespace

std::string kindName(std::int64_t type) {
  const auto kind = fromRawValue<ZVMessageType>(type);
  return kind ? std::string(caseName(*kind)) : numberText(type);
}

bool claimsAnother(const ZVStreamMessage& event, const std::string& senderId) {
  return !senderId.empty() && event.senderUserId && !event.isFrom(senderId);
}

ChatLine eventLine(std::string_view channel, std::int64_t type, const ZVStreamMessage& event,
                   const std::string& senderId) {
  const std::string kind = kindName(type);
  auto object = lineObject(channel, kind);
  if (!senderId.empty()) object.set("senderId", senderId);
  std::string json = encoded(std::move(object));
  if (const auto fields = event.toJsonString())  // {"kind":"like"} and {"senderUserId":7,...}
    json.replace(json.size() - 1, 1, "," + fields->substr(1));
  const bool isChatLine = type == rawValue(ZVMessageType::message);
  const std::string warning =
      claimsAnother(event, senderId) ? "(really from " + senderId + ") " : "";
  return {std::move(json), printable(warning + sentence(kind, isChatLine, event))};
}

ChatLine undecodableLine(std::string_view channel, const std::string& text,
                         const std::string& fault) {
  auto object = lineObject(channel, "undecodable");
  object.set("fault", fault);
  if (json::encode(text)) object.set("text", text);
  constexpr std::size_t shown = 200;
  return {encoded(std::move(object)),
          printable("[undecodable] " + fault + ": " + text.substr(0, shown))};
}

ChatLine joinedLine(std::string_view channel) {
  return {encoded(lineObject(channel, "joined")), printable("* joined " + std::string(channel))};
}

namespace {

/// "Ann (7)", or the id alone.
std::string nameOf(const std::string& userId, const MemberNames& names) {
  const auto known = names.find(userId);
  return known == names.end() ? userId : known->second + " (" + userId + ")";
}

std::int64_t milliseconds(ZVRTMStatus::Time time) {
  return std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

}  // namespace

ChatLine membersLine(std::string_view channel, const std::vector<std::string>& ids,
                     const MemberNames& names) {
  auto object = lineObject(channel, "members");
  object.set("userIds", json::Array(ids.begin(), ids.end()));
  std::string text = "* here:";
  for (const auto& id : ids) text += " " + nameOf(id, names);
  return {encoded(std::move(object)), printable(text)};
}

ChatLine memberLine(std::string_view channel, const std::string& userId, bool came,
                    const MemberNames& names) {
  auto object = lineObject(channel, came ? "memberJoined" : "memberLeft");
  object.set("userId", userId);
  if (const auto known = names.find(userId); known != names.end())
    object.set("displayName", known->second);
  return {encoded(std::move(object)),
          printable("* " + nameOf(userId, names) + (came ? " came" : " went"))};
}

ChatLine channelLine(std::string_view channel, const ZVRTMStatus::Channel& status) {
  if (status.state == AgoraRtmChannelState::resumed) {
    auto object = lineObject(channel, "resumed");
    std::string text = "* connected again";
    if (const auto& gap = status.gap) {
      object.set("from", milliseconds(gap->from));
      object.set("to", milliseconds(gap->to));
      text += "; some of what was said in the last " +
              numberText(std::chrono::ceil<std::chrono::seconds>(gap->to - gap->from).count()) +
              " s may be missing";
    }
    return {encoded(std::move(object)), printable(text)};
  }
  const bool isGivenUp = status.state == AgoraRtmChannelState::givenUp;
  auto object = lineObject(channel, isGivenUp ? "givenUp" : "interrupted");
  object.set("problem", status.problem);
  return {encoded(std::move(object)),
          printable((isGivenUp ? "* given up: " : "* interrupted: ") + status.problem)};
}

}  // namespace zavelo::command

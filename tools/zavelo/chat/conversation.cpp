#include "tools/zavelo/chat/conversation.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

#include "tools/zavelo/chat/chat_feed.hpp"
#include "tools/zavelo/chat/message_inspection.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/stream_message_factory.hpp"

namespace zavelo::command {
namespace {

// How long what was said may take to be acknowledged once the chat is to end.
constexpr std::chrono::seconds patience{15};
// Those who come and go together are looked up together.
constexpr std::chrono::milliseconds gathering{100};

}  // namespace

std::shared_ptr<Conversation> Conversation::create(Collaborators with, Told told) {
  return std::shared_ptr<Conversation>(new Conversation(std::move(with), std::move(told)));
}

Conversation::Conversation(Collaborators with, Told told)
    : with_(std::move(with)), told_(std::move(told)) {}

void Conversation::start() {
  const auto listening = [weak = weak_from_this()](auto step) {
    return [weak, step](const auto&... heard) {
      const auto self = weak.lock();
      if (self && !self->hasLeft_) step(*self, heard...);
    };
  };
  with_.visit->enter(
      {.message = listening([](Conversation& self, const std::string& text,
                               const std::string& senderId) { self.hear(text, senderId); }),
       .membersChanged = listening([](Conversation& self) { self.lookForMembers(); }),
       .remoteLogin = listening([](Conversation& self) {
         self.fail("signed in elsewhere");
         self.leave();
       }),
       .problem = listening([](Conversation& self, const std::string& problem) {
         if (self.told_.delay) self.told_.delay(problem + "; still trying");
       }),
       .channel = listening([](Conversation& self, const ZVRTMStatus::Channel& channel) {
         self.hearChannel(channel);
       })},
      listening([](Conversation& self, const std::optional<std::string>& failure) {
        if (!failure) return self.enter();
        self.fail(*failure);
        self.leave();
      }),
      ChannelVisit::Patience::unlimited);
}

void Conversation::enter() {
  hasJoined_ = true;
  joinedAt_ = with_.clock->sinceBoot();
  if (const auto user = with_.users->currentUser(); user && user->userInfo)
    if (const auto& name = user->userInfo->displayName) names_[ownId()] = *name;
  show(joinedLine(with_.visit->channel()));
  lookForMembers();
  told_.joined();
  sendNext();
}

std::int64_t Conversation::sinceJoining() const {
  return std::chrono::floor<std::chrono::milliseconds>(with_.clock->sinceBoot() - joinedAt_)
      .count();
}

// ---- what comes in ----

void Conversation::hearChannel(const ZVRTMStatus::Channel& channel) {
  show(channelLine(with_.visit->channel(), channel));
  if (channel.state != AgoraRtmChannelState::givenUp) return lookForMembers();
  fail(channel.problem);
  leave();
}

std::string Conversation::ownId() const {
  const auto user = with_.users->currentUser();
  const auto id = user && user->userInfo && user->userInfo->userId ? user->userInfo->userId
                  : user                                           ? user->guestId
                                                                   : std::nullopt;
  return id ? std::to_string(*id) : "";
}

void Conversation::learnName(const std::string& userId, const ZVStreamMessage& event) {
  constexpr std::size_t most = 10'000;
  const auto& name = event.senderDisplayName;
  if (!event.isFrom(userId) || !name || name->empty()) return;
  if (names_.size() < most || names_.contains(userId)) names_[userId] = *name;
}

void Conversation::hear(const std::string& text, const std::string& senderId) {
  if (eventsLeft_ && *eventsLeft_ <= 0) return;
  const std::string& channel = with_.visit->channel();
  const auto envelope = json::decode<std::shared_ptr<const ZVMessage>>(text);
  if (!envelope) {
    show(undecodableLine(channel, text, envelope.error().text()));
  } else if (const auto event = eventIn(*envelope); !event) {
    show(undecodableLine(channel, text, event.error().text()));
  } else {
    learnName(senderId, **event);
    tell(*event, (*envelope)->type, senderId, false);
    record((*envelope)->type, **event, sinceJoining());
  }
  if (eventsLeft_ && --*eventsLeft_ <= 0) end();
}

// Joins and leaves are told alike, so the list tells which it was.
void Conversation::lookForMembers() {
  if (std::exchange(looksForMembers_, true)) return;
  with_.queue->postAfter(gathering, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || self->hasLeft_) return;
    self->looksForMembers_ = false;
    self->with_.visit->members([weak](const std::vector<std::string>& ids) {
      const auto listening = weak.lock();
      if (listening && !listening->hasLeft_) listening->compareMembers(ids);
    });
  });
}

void Conversation::compareMembers(const std::vector<std::string>& ids) {
  const std::string& channel = with_.visit->channel();
  std::set<std::string> now(ids.begin(), ids.end());
  const auto before = std::exchange(members_, now);
  if (!before) return show(membersLine(channel, {now.begin(), now.end()}, names_));
  std::vector<std::string> changed;
  std::ranges::set_difference(*before, now, std::back_inserter(changed));
  for (const auto& id : std::exchange(changed, {})) tellMember(id, false);
  std::ranges::set_difference(now, *before, std::back_inserter(changed));
  for (const auto& id : changed) tellMember(id, true);
}

void Conversation::tellMember(const std::string& id, bool came) {
  const auto line = memberLine(with_.visit->channel(), id, came, names_);
  if (!told_.event) return show(line);
  const auto type = came ? ZVMessageType::viewerJoined : ZVMessageType::viewerLeft;
  if (!hasLeft_)
    told_.event(std::make_shared<const MemberChange>(line.text), rawValue(type), false);
}

// ---- what is said ----

void Conversation::say(std::string line) {
  if (isEnding_ || line.empty()) return;
  unsaid_.push_back(std::move(line));
  sendNext();
}

void Conversation::sendNext() {
  if (!hasJoined_ || isSending_ || hasLeft_) return;
  if (unsaid_.empty()) {
    told_.allSaid();
    if (isEnding_) leave();
    return;
  }
  isSending_ = true;
  const std::int64_t time = sinceJoining();
  const std::shared_ptr<const ZVStreamMessage> event =
      ZVStreamMessageFactory(ZVMessageType::message)
          .createMessage(unsaid_.front(), time, *with_.users);
  const auto answered = [weak = weak_from_this(), time,
                         event](const std::optional<std::string>& failure) {
    const auto self = weak.lock();
    if (!self || self->hasLeft_) return;
    const std::string line = std::move(self->unsaid_.front());
    self->unsaid_.pop_front();
    self->isSending_ = false;
    if (failure) {
      self->fail("\"" + line + "\" was not sent: " + *failure);
    } else {
      self->learnName(self->ownId(), *event);
      self->tell(event, rawValue(ZVMessageType::message), self->ownId(), true);
      self->record(rawValue(ZVMessageType::message), *event, time);
    }
    self->sendNext();
  };
  if (!event->toJsonString())
    with_.queue->post([answered] { answered("expected UTF-8"); });
  else
    with_.visit->send(*ZVMessage(*event).toJsonString(), answered);
}

// ---- the end ----

void Conversation::end() {
  if (std::exchange(isEnding_, true)) return;
  if (!hasJoined_) return leave();
  with_.queue->postAfter(patience, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->giveUp();
  });
  sendNext();
}

void Conversation::giveUp() {
  if (hasLeft_) return;
  for (const auto& line : unsaid_) fail("\"" + line + "\" was not acknowledged");
  leave();
}

void Conversation::leave() {
  if (std::exchange(hasLeft_, true)) return;
  with_.visit->leave([self = shared_from_this()] { self->told_.over(self->isGood_); });
}

void Conversation::tell(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type,
                        const std::string& senderId, bool isOwn) {
  // A line that says who really sent it is not merged with others.
  if (!told_.event || claimsAnother(*event, senderId))
    return show(eventLine(with_.visit->channel(), type, *event, senderId));
  if (!hasLeft_) told_.event(std::move(event), type, isOwn);
}

void Conversation::show(const ChatLine& line) {
  if (hasLeft_ || told_.line(line)) return;
  isGood_ = false;
  leave();
}

void Conversation::record(std::int64_t type, const ZVStreamMessage& event, std::int64_t time) {
  if (!with_.recording) return;
  const auto failure = with_.recording->add(type, event, time);
  if (!failure) return;
  with_.recording.reset();
  fail(*failure);
  end();
}

void Conversation::fail(const std::string& reason) {
  isGood_ = false;
  told_.error(reason);
}

}  // namespace zavelo::command

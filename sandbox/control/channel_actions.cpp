#include "sandbox/control/channel_actions.hpp"

#include <memory>
#include <string>
#include <utility>

#include "sandbox/channels/channels.hpp"
#include "sandbox/channels/host_message.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/gifts/gift_endpoints.hpp"
#include "sandbox/gifts/gift_record.hpp"

namespace zavelo::sandbox {
namespace {

using Changed = Result<std::int64_t, Problem>;

HostMessages messagesFor(const ActionCall& of) {
  return {of.transaction, *of.stream, of.room.gifts.streams.site, of.room.sessions.now()};
}

/// Sends the event when the state is written.
Changed send(const ActionCall& of, std::shared_ptr<ZVStreamMessage> event) {
  of.then = [&channels = of.room.channels, stream = *of.stream, event = std::move(event)] {
    return channels.tell(stream, *event);
  };
  return 0;
}

/// `Act` on a stream that runs, which is when there are others in its channel.
template <Changed (*Act)(const ActionCall&)>
Changed running(const ActionCall& of) {
  if (of.stream->status == StreamStatus::live || of.stream->status == StreamStatus::paused) {
    return Act(of);
  }
  return Failure{parameterProblem("slug", "this stream does not run")};
}

Changed sendStatistic(const ActionCall& of) {
  return send(of, messagesFor(of).statistic());
}

Changed sendFloatingText(const ActionCall& of) {
  ZVFloatingTextMessageFields fields;
  fields.content = of.arguments.text("content");
  fields.streamTitleColor = of.arguments.text("color");
  if (of.arguments.has("x") || of.arguments.has("y")) {
    fields.position = std::make_shared<ZVFloatingTextPosition>(
        ZVFloatingTextPosition{of.arguments.number("x"), of.arguments.number("y")});
  }
  return send(of, messagesFor(of).floatingText(std::move(fields)));
}

template <ZVMessageType Kind>
Changed sendAbout(const ActionCall& of) {
  return send(of, messagesFor(of).about(*of.member, Kind));
}

Changed beginPoll(const ActionCall& of) {
  if (runningPoll(of.transaction, of.stream->id)) {
    return Failure{parameterProblem("slug", "a poll of this stream runs already")};
  }
  Poll poll{.title = of.arguments.text("title").value_or(""),
            .question = *of.arguments.text("question"),
            .options = {*of.arguments.text("option1"), *of.arguments.text("option2")},
            .votes = {}};
  if (auto third = of.arguments.text("option3")) poll.options.push_back(*std::move(third));
  return send(of, messagesFor(of).poll(startPoll(of.transaction, of.stream->id, poll)));
}

Changed countVotes(const ActionCall& of) {
  auto poll = runningPoll(of.transaction, of.stream->id);
  if (!poll) return Failure{parameterProblem("slug", "no poll of this stream runs")};
  const auto choice = *of.arguments.integer("choice");
  if (choice > std::ssize(poll->options)) {
    return Failure{parameterProblem("choice", "the poll has no such option")};
  }
  addVotes(of.transaction, *poll, choice, of.arguments.integer("amount").value_or(1));
  return send(of, messagesFor(of).poll(*runningPoll(of.transaction, of.stream->id)));
}

Changed endPoll(const ActionCall& of) {
  const auto poll = runningPoll(of.transaction, of.stream->id);
  if (!poll) return Failure{parameterProblem("slug", "no poll of this stream runs")};
  return send(of, messagesFor(of).poll(stopPoll(of.transaction, *poll)));
}

/// As the member's app does it: pays, and tells the channel.
Changed giveGift(const ActionCall& of) {
  const auto gift =
      offeredGift(of.room.gifts.streams.settings.gifts, *of.arguments.integer("giftId"));
  if (!gift) return Failure{gift.error()};
  auto given = give(of.transaction, *of.stream, *gift, of.arguments.integer("amount").value_or(1),
                    of.member->id, of.stream->owner, of.room.sessions.now());
  if (!given) return Failure{std::move(given).error()};
  of.then = [&room = of.room, given = *std::move(given)] {
    room.gifts.given(given);
    return room.channels.tell(given.stream, *messageOf(given, room.gifts.streams.site));
  };
  return 0;
}

}  // namespace

std::vector<Action> channelActions() {
  using enum ZVMessageType;
  const std::vector<Action::Takes> target{{"slug"}, {"userName"}};
  return {
      {"statistic", {{"slug"}}, running<sendStatistic>},
      {"floating-text",
       {{"slug"}, {"content"}, {"color", false}, {"x", false}, {"y", false}},
       running<sendFloatingText>},
      {"start-poll",
       {{"slug"}, {"question"}, {"option1"}, {"option2"}, {"option3", false}, {"title", false}},
       running<beginPoll>},
      {"add-votes", {{"slug"}, {"choice"}, {"amount", false}}, running<countVotes>},
      {"stop-poll", {{"slug"}}, running<endPoll>},
      {"gift", {{"slug"}, {"userName"}, {"giftId"}, {"amount", false}}, running<giveGift>},
      {"kick", target, running<sendAbout<hostKicked>>},
      {"unkick", target, running<sendAbout<hostUnkicked>>},
      {"mute", target, running<sendAbout<hostMuted>>},
      {"unmute", target, running<sendAbout<hostUnmuted>>},
  };
}

std::vector<Parameter> channelActionParameters() {
  return {
      text("content", 1, 500), text("color", 1, 30),       number("x", -1e6, 1e6),
      number("y", -1e6, 1e6),  text("title", 0, 200),      text("question", 1, 500),
      text("option1", 1, 200), text("option2", 1, 200),    text("option3", 1, 200),
      integer("choice", 1, 3), integer("giftId", 0, 1e15), integer("amount", 1, mostGiftsAtOnce)};
}

}  // namespace zavelo::sandbox

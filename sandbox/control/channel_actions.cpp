#include "sandbox/control/channel_actions.hpp"

#include <memory>
#include <string>
#include <utility>

#include "sandbox/channels/channels.hpp"
#include "sandbox/channels/host_message.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/gifts/gift_endpoints.hpp"
#include "sandbox/gifts/gift_record.hpp"
#include "sandbox/streams/stream_plan.hpp"

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

/// What happens in the stream's channel: its parameters are these and the stream.
Action inChannel(std::string_view name, std::string_view help, std::vector<Parameter> parameters,
                 Changed (*act)(const ActionCall&)) {
  parameters.insert(parameters.begin(), required(slugParameter));
  return {{name, help, std::move(parameters), /*isTold=*/true}, act};
}

}  // namespace

std::vector<Action> channelActions() {
  using enum ZVMessageType;
  const Parameter member = required(actionMemberParameter);
  return {
      inChannel("statistic", "Tell the channel how the stream does", {}, running<sendStatistic>),
      inChannel("floating-text", "Let a text float over the stream",
                {required(text("content", 1, 500)), text("color", 1, 30), number("x", -1e6, 1e6),
                 number("y", -1e6, 1e6)},
                running<sendFloatingText>),
      inChannel("start-poll", "Start a poll",
                {required(text("question", 1, 500)), required(text("option1", 1, 200)),
                 required(text("option2", 1, 200)), text("option3", 1, 200), text("title", 0, 200)},
                running<beginPoll>),
      inChannel("add-votes", "Add votes to the running poll",
                {required(integer("choice", 1, 3)), integer("amount", 1, mostGiftsAtOnce)},
                running<countVotes>),
      inChannel("stop-poll", "Stop the running poll", {}, running<endPoll>),
      inChannel(
          "gift", "Let a member give a gift and pay for it",
          {member, required(integer("giftId", 0, 1e15)), integer("amount", 1, mostGiftsAtOnce)},
          running<giveGift>),
      inChannel("kick", "Throw a user out", {member}, running<sendAbout<hostKicked>>),
      inChannel("unkick", "Let a user in again", {member}, running<sendAbout<hostUnkicked>>),
      inChannel("mute", "Silence a user", {member}, running<sendAbout<hostMuted>>),
      inChannel("unmute", "Let a user speak again", {member}, running<sendAbout<hostUnmuted>>),
  };
}

}  // namespace zavelo::sandbox

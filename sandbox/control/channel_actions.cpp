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

constexpr auto contentParameter = required(text("content", 1, 500));
constexpr auto colorParameter = text("color", 1, 30);
constexpr auto xParameter = number("x", -1e6, 1e6);
constexpr auto yParameter = number("y", -1e6, 1e6);
constexpr auto questionParameter = required(text("question", 1, 500));
constexpr auto firstOption = required(text("option1", 1, 200));
constexpr auto secondOption = required(text("option2", 1, 200));
constexpr auto thirdOption = text("option3", 1, 200);
constexpr auto titleParameter = text("title", 0, 200);
constexpr auto choiceParameter = required(integer("choice", 1, 3));
constexpr auto amountParameter = integer("amount", 1, mostGiftsAtOnce);
constexpr auto giftIdParameter = required(integer("giftId", 0, 1e15));

HostMessages messagesFor(const ActionCall& call) {
  return {call.transaction, *call.stream, call.context.gifts.streams.site,
          call.context.sessions.now()};
}

/// Sends the event when the state is written.
Changed send(const ActionCall& call, std::shared_ptr<ZVStreamMessage> event) {
  call.then = [&channels = call.context.channels, stream = *call.stream, event = std::move(event)] {
    return channels.tell(stream, *event);
  };
  return 0;
}

/// `Act` on a stream that runs, which is when there are others in its channel.
template <Changed (*Act)(const ActionCall&)>
Changed running(const ActionCall& call) {
  if (call.stream->status == StreamStatus::live || call.stream->status == StreamStatus::paused) {
    return Act(call);
  }
  return Failure{parameterProblem("slug", "this stream does not run")};
}

Changed sendStatistic(const ActionCall& call) {
  return send(call, messagesFor(call).statistic());
}

Changed sendFloatingText(const ActionCall& call) {
  ZVFloatingTextMessageFields fields;
  fields.content = call.arguments[contentParameter];
  fields.streamTitleColor = call.arguments[colorParameter];
  if (call.arguments.has(xParameter) || call.arguments.has(yParameter)) {
    fields.position = std::make_shared<ZVFloatingTextPosition>(
        ZVFloatingTextPosition{call.arguments[xParameter], call.arguments[yParameter]});
  }
  return send(call, messagesFor(call).floatingText(std::move(fields)));
}

template <ZVMessageType Kind>
Changed sendAbout(const ActionCall& call) {
  return send(call, messagesFor(call).about(*call.member, Kind));
}

Changed beginPoll(const ActionCall& call) {
  if (runningPoll(call.transaction, call.stream->id)) {
    return Failure{parameterProblem("slug", "a poll of this stream runs already")};
  }
  Poll poll{.title = call.arguments[titleParameter].value_or(""),
            .question = call.arguments[questionParameter],
            .options = {call.arguments[firstOption], call.arguments[secondOption]},
            .votes = {}};
  if (auto third = call.arguments[thirdOption]) poll.options.push_back(*std::move(third));
  return send(call, messagesFor(call).poll(startPoll(call.transaction, call.stream->id, poll)));
}

Changed countVotes(const ActionCall& call) {
  auto poll = runningPoll(call.transaction, call.stream->id);
  if (!poll) return Failure{parameterProblem("slug", "no poll of this stream runs")};
  const auto choice = call.arguments[choiceParameter];
  if (choice > std::ssize(poll->options)) {
    return Failure{parameterProblem("choice", "the poll has no such option")};
  }
  addVotes(call.transaction, *poll, choice, call.arguments[amountParameter].value_or(1));
  return send(call, messagesFor(call).poll(*runningPoll(call.transaction, call.stream->id)));
}

Changed endPoll(const ActionCall& call) {
  const auto poll = runningPoll(call.transaction, call.stream->id);
  if (!poll) return Failure{parameterProblem("slug", "no poll of this stream runs")};
  return send(call, messagesFor(call).poll(stopPoll(call.transaction, *poll)));
}

/// As the member's app does it: pays, and tells the channel.
Changed giveGift(const ActionCall& call) {
  const auto gift =
      offeredGift(call.context.gifts.streams.settings.gifts, call.arguments[giftIdParameter]);
  if (!gift) return Failure{gift.error()};
  auto given =
      give(call.transaction, *call.stream, *gift, call.arguments[amountParameter].value_or(1),
           call.member->id, call.stream->owner, call.context.sessions.now());
  if (!given) return Failure{std::move(given).error()};
  call.then = [&context = call.context, given = *std::move(given)] {
    context.gifts.given(given);
    return context.channels.tell(given.stream, *messageOf(given, context.gifts.streams.site));
  };
  return 0;
}

/// What happens in the stream's channel: its parameters are these and the stream.
Action inChannel(std::string_view name, std::string_view help, std::vector<Parameter> parameters,
                 Changed (*act)(const ActionCall&)) {
  parameters.insert(parameters.begin(), slugParameter);
  return {{name, help, std::move(parameters), /*isTold=*/true}, act};
}

}  // namespace

std::vector<Action> channelActions() {
  using enum ZVMessageType;
  constexpr auto member = required(actionMemberParameter);
  return {
      inChannel("statistic", "Tell the channel how the stream does", {}, running<sendStatistic>),
      inChannel("floating-text", "Let a text float over the stream",
                {contentParameter, colorParameter, xParameter, yParameter},
                running<sendFloatingText>),
      inChannel("start-poll", "Start a poll",
                {questionParameter, firstOption, secondOption, thirdOption, titleParameter},
                running<beginPoll>),
      inChannel("add-votes", "Add votes to the running poll", {choiceParameter, amountParameter},
                running<countVotes>),
      inChannel("stop-poll", "Stop the running poll", {}, running<endPoll>),
      inChannel("gift", "Let a member give a gift and pay for it",
                {member, giftIdParameter, amountParameter}, running<giveGift>),
      inChannel("kick", "Throw a user out", {member}, running<sendAbout<hostKicked>>),
      inChannel("unkick", "Let a user in again", {member}, running<sendAbout<hostUnkicked>>),
      inChannel("mute", "Silence a user", {member}, running<sendAbout<hostMuted>>),
      inChannel("unmute", "Let a user speak again", {member}, running<sendAbout<hostUnmuted>>),
  };
}

}  // namespace zavelo::sandbox

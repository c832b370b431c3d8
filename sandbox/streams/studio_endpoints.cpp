#include "sandbox/media/files.hpp"
#include "sandbox/streams/co_hosts.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/models/stream_totals.hpp"

namespace zavelo::sandbox {
namespace {

constexpr double chatLimit = 16 * 1024 * 1024;
constexpr auto coverParameter = required(jpeg("image", pictureLimit));
constexpr auto chatParameter = required(plainText("historyChatFile", chatLimit));
constexpr auto dataParameter = required(pinnedParameter("data"));
constexpr auto positionParameter = required(integer("position", 0, 99));
constexpr auto guestParameter = required(integer("guestId", 0, 1e15));
constexpr auto hostParameter = required(integer("userId", 0, 1e15));

Response saveCover(const StreamCall& call) {
  keepFile(call.transaction, streamCovers, call.stream.id, call.arguments[coverParameter]);
  return succeed(true);
}

Response saveChat(const StreamCall& call) {
  keepFile(call.transaction, streamChats, call.stream.id, call.arguments[chatParameter]);
  return succeed(true);
}

Response record(const StreamCall& call) {
  call.transaction.run("UPDATE streams SET recorded = 1 WHERE id = ?", call.stream.id);
  return succeed(true);
}

Response pinned(const StreamCall& call) {
  return succeed(call.stream.pinned);
}

Response pin(const StreamCall& call) {
  setPinned(call.transaction, call.stream, call.arguments[dataParameter]);
  return succeed(true);
}

Response position(const StreamCall& call) {
  return succeed(call.stream.position);
}

Response movePosition(const StreamCall& call) {
  setPosition(call.transaction, call.stream, call.arguments[dataParameter]);
  return succeed(true);
}

CoHost coHostIn(const StreamCall& call) {
  return {call.arguments[guestParameter], call.arguments[positionParameter]};
}

std::optional<Problem> wrongHost(const StreamCall& call) {
  if (call.arguments[hostParameter] == call.stream.owner) return {};
  return parameterProblem("userId", "is not the stream's owner");
}

Response inviteCoHost(const StreamCall& call) {
  const CoHost coHost = coHostIn(call);
  if (const auto problem = wrongHost(call)) return fail(*problem);
  if (coHost.member == call.stream.owner) {
    return fail(parameterProblem("guestId", "is the stream's owner"));
  }
  if (!memberById(call.transaction, coHost.member)) {
    return fail(
        {Code::userNotFound, parameterProblem("guestId", "there is no such member").message});
  }
  if (coHostAt(call.transaction, call.stream.id, coHost.position)) {
    return fail(parameterProblem("position", "is taken"));
  }
  if (coHostWho(call.transaction, call.stream.id, coHost.member)) {
    return fail(parameterProblem("guestId", "is a co-host of this stream already"));
  }
  addCoHost(call.transaction, call.stream.id, coHost);
  return succeed(true);
}

Response dismissCoHost(const StreamCall& call) {
  if (const auto problem = wrongHost(call)) return fail(*problem);
  if (!removeCoHost(call.transaction, call.stream.id, coHostIn(call))) {
    return fail(parameterProblem("guestId", "is no co-host at that position"));
  }
  return succeed(true);
}

/// Of the caller who is a co-host, else of the co-host with the lowest position.
Response coHostCredits(const StreamCall& call) {
  const auto& caller = call.identity.member;
  auto coHost = caller ? coHostWho(call.transaction, call.stream.id, *caller) : std::nullopt;
  if (!coHost) coHost = firstCoHost(call.transaction, call.stream.id);
  if (!coHost) return fail(parameterProblem("slug", "this stream has no co-host"));
  const Member guest = *memberById(call.transaction, coHost->member);
  return succeed(
      ZVStreamCoHostCredits{.userId = call.stream.owner,
                            .guestId = guest.id,
                            .userName = guest.userName,
                            .displayName = guest.displayName,
                            .totalGold = goldReceivedIn(call.transaction, call.stream.id, guest.id),
                            .totalGoldFans = guest.goldFromFans,
                            .position = coHost->position});
}

}  // namespace

std::vector<Endpoint> studioEndpoints(StreamContext& context) {
  const std::vector<Parameter> coHost{positionParameter, guestParameter, hostParameter};
  return endpointsOf(
      context,
      {
          {"/api/streams/save-cover", Who::owner, When::ever, saveCover, {coverParameter}},
          {"/api/streams/save-history-chat", Who::owner, When::ever, saveChat, {chatParameter}},
          {"/api/streams/recording", Who::owner, When::running, record},
          {"/api/streams/pinned", Who::viewer, When::ever, pinned},
          {"/api/streams/update-pinned", Who::owner, When::unended, pin, {dataParameter}},
          {"/api/streams/position", Who::viewer, When::ever, position},
          {"/api/streams/update-position",
           Who::owner,
           When::unended,
           movePosition,
           {dataParameter}},
          {"/api/streams/add-co-host", Who::owner, When::unended, inviteCoHost, coHost},
          {"/api/streams/remove-co-host", Who::owner, When::unended, dismissCoHost, coHost},
          {"/api/streams/co-hosts-credits", Who::viewer, When::ever, coHostCredits},
      });
}

}  // namespace zavelo::sandbox

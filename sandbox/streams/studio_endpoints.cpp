#include "sandbox/media/files.hpp"
#include "sandbox/streams/co_hosts.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/models/stream_totals.hpp"

namespace zavelo::sandbox {
namespace {

constexpr double chatLimit = 16 * 1024 * 1024;

Response saveCover(const StreamCall& of) {
  keepFile(of.transaction, streamCovers, of.stream.id, *of.call.arguments.file("image"));
  return succeed(true);
}

Response saveChat(const StreamCall& of) {
  keepFile(of.transaction, streamChats, of.stream.id, *of.call.arguments.file("historyChatFile"));
  return succeed(true);
}

Response record(const StreamCall& of) {
  of.transaction.run("UPDATE streams SET recorded = 1 WHERE id = ?", of.stream.id);
  return succeed(true);
}

Response pinned(const StreamCall& of) {
  return succeed(of.stream.pinned);
}

Response pin(const StreamCall& of) {
  setPinned(of.transaction, of.stream, *of.call.arguments.text("data"));
  return succeed(true);
}

Response position(const StreamCall& of) {
  return succeed(of.stream.position);
}

Response movePosition(const StreamCall& of) {
  setPosition(of.transaction, of.stream, *of.call.arguments.text("data"));
  return succeed(true);
}

CoHost coHostIn(const StreamCall& of) {
  return {*of.call.arguments.integer("guestId"), *of.call.arguments.integer("position")};
}

std::optional<Problem> wrongHost(const StreamCall& of) {
  if (of.call.arguments.integer("userId") == of.stream.owner) return {};
  return parameterProblem("userId", "is not the stream's owner");
}

Response inviteCoHost(const StreamCall& of) {
  const CoHost coHost = coHostIn(of);
  if (const auto problem = wrongHost(of)) return fail(*problem);
  if (coHost.member == of.stream.owner) {
    return fail(parameterProblem("guestId", "is the stream's owner"));
  }
  if (!memberById(of.transaction, coHost.member)) {
    return fail(
        {Code::userNotFound, parameterProblem("guestId", "there is no such member").message});
  }
  if (coHostAt(of.transaction, of.stream.id, coHost.position)) {
    return fail(parameterProblem("position", "is taken"));
  }
  if (coHostWho(of.transaction, of.stream.id, coHost.member)) {
    return fail(parameterProblem("guestId", "is a co-host of this stream already"));
  }
  addCoHost(of.transaction, of.stream.id, coHost);
  return succeed(true);
}

Response dismissCoHost(const StreamCall& of) {
  if (const auto problem = wrongHost(of)) return fail(*problem);
  if (!removeCoHost(of.transaction, of.stream.id, coHostIn(of))) {
    return fail(parameterProblem("guestId", "is no co-host at that position"));
  }
  return succeed(true);
}

/// Of the caller who is a co-host, else of the co-host with the lowest position.
Response coHostCredits(const StreamCall& of) {
  const auto& caller = of.call.identity.member;
  auto coHost = caller ? coHostWho(of.transaction, of.stream.id, *caller) : std::nullopt;
  if (!coHost) coHost = firstCoHost(of.transaction, of.stream.id);
  if (!coHost) return fail(parameterProblem("slug", "this stream has no co-host"));
  const Member guest = *memberById(of.transaction, coHost->member);
  return succeed(
      ZVStreamCoHostCredits{.userId = of.stream.owner,
                            .guestId = guest.id,
                            .userName = guest.userName,
                            .displayName = guest.displayName,
                            .totalGold = goldReceivedIn(of.transaction, of.stream.id, guest.id),
                            .totalGoldFans = guest.goldFromFans,
                            .position = coHost->position});
}

}  // namespace

std::vector<Endpoint> studioEndpoints(StreamRoom& room) {
  const std::vector<Parameter> coHost{required(integer("position", 0, 99)),
                                      required(integer("guestId", 0, 1e15)),
                                      required(integer("userId", 0, 1e15))};
  return endpointsOf(
      room, {
                {"/api/streams/save-cover",
                 Who::owner,
                 When::ever,
                 saveCover,
                 {required(jpeg("image", pictureLimit))}},
                {"/api/streams/save-history-chat",
                 Who::owner,
                 When::ever,
                 saveChat,
                 {required(plainText("historyChatFile", chatLimit))}},
                {"/api/streams/recording", Who::owner, When::running, record},
                {"/api/streams/pinned", Who::viewer, When::ever, pinned},
                {"/api/streams/update-pinned",
                 Who::owner,
                 When::unended,
                 pin,
                 {required(pinnedParameter("data"))}},
                {"/api/streams/position", Who::viewer, When::ever, position},
                {"/api/streams/update-position",
                 Who::owner,
                 When::unended,
                 movePosition,
                 {required(pinnedParameter("data"))}},
                {"/api/streams/add-co-host", Who::owner, When::unended, inviteCoHost, coHost},
                {"/api/streams/remove-co-host", Who::owner, When::unended, dismissCoHost, coHost},
                {"/api/streams/co-hosts-credits", Who::viewer, When::ever, coHostCredits},
            });
}

}  // namespace zavelo::sandbox

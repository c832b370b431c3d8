#include <string>
#include <utility>

#include "sandbox/streams/audience.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/streams/stream_record.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/tokens.hpp"
#include "zavelo/models/stream_totals.hpp"

namespace zavelo::sandbox {
namespace {

/// Letters and digits only: a slug that began with "-" would look like an option to a command.
std::string freshSlug() {
  std::string slug = makeToken();
  std::erase_if(slug, [](char c) { return c == '-' || c == '_'; });
  return slug.substr(0, 16);
}

Response create(StreamRoom& room, const Call& call) {
  const auto plan = planFrom(call.arguments, room.settings);
  if (!plan) return fail(plan.error());
  return room.database.transact([&](Transaction& transaction) {
    const Time now = room.sessions.now();
    const Stream stream =
        addStream(transaction, freshSlug(), *call.identity.member, *plan, std::nullopt, now);
    return succeed(recordOf(transaction, stream, call.identity, room.site, now));
  });
}

Response describe(const StreamCall& of) {
  return succeed(recordOf(of.transaction, of.stream, of.call.identity, of.room.site, of.now));
}

Response beginOrResume(const StreamCall& of) {
  goLive(of.transaction, of.stream, of.now);
  return succeed(true);
}

/// The owner's leaving pauses the stream, anybody else's ends their view session.
Response leave(const StreamCall& of) {
  if (of.call.arguments.integer("streamUserId") != of.stream.owner) {
    return fail(parameterProblem("streamUserId", "is not the stream's owner"));
  }
  if (of.call.identity.member != of.stream.owner) {
    return succeed(stopWatching(of.transaction, of.stream.id, of.call.identity, of.now));
  }
  goPaused(of.transaction, of.stream, of.now);
  return succeed(true);
}

Response finish(const StreamCall& of) {
  stopAllWatching(of.transaction, of.stream.id, of.now);
  goEnded(of.transaction, of.stream, of.now);
  ZVEndStream totals;
  totals.viewCount = of.stream.viewCount;
  totals.likeCount = of.stream.likeCount;
  totals.giftCount = of.stream.giftCount;
  totals.totalGold = of.stream.totalGold;
  totals.duration = secondsLive(of.stream, of.now);
  return succeed(totals);
}

Response statistic(const StreamCall& of) {
  const Stream& stream = of.stream;
  const Member owner = *memberById(of.transaction, stream.owner);
  ZVStreamStatistic totals;
  totals.viewCount = stream.viewCount;
  totals.likeCount = stream.likeCount;
  totals.giftCount = stream.giftCount;
  totals.totalGold = stream.totalGold;
  totals.followerCount = 0;
  totals.status = static_cast<std::int64_t>(stream.status);
  totals.statusMessage = nameOf(stream.status);
  totals.duration = secondsLive(stream, of.now);
  totals.afkStatus = stream.status == StreamStatus::paused ? 1 : 0;
  totals.isShowLike = totals.isShowView = true;
  totals.promoCode = owner.promoCode;
  totals.promoCodeDescription = owner.promoDescription;
  return succeed(totals);
}

Response remove(const StreamCall& of) {
  dropStream(of.transaction, of.stream);
  return succeed(true);
}

}  // namespace

std::vector<Endpoint> streamLifeEndpoints(StreamRoom& room) {
  auto endpoints =
      endpointsOf(room, {
                            {"/api/streams/begin", Who::owner, When::created, beginOrResume},
                            {"/api/streams/leave-stream",
                             Who::anybody,
                             When::running,
                             leave,
                             {required(integer("streamUserId", 0, 1e15))}},
                            {"/api/streams/resume-detail", Who::owner, When::paused, describe},
                            {"/api/streams/resume", Who::owner, When::paused, beginOrResume},
                            {"/api/streams/end", Who::owner, When::running, finish},
                            {"/api/streams/delete", Who::owner, When::unbegunOrEnded, remove},
                            {"/api/streams/detail", Who::anybody, When::ever, describe},
                            {"/api/streams/statistic", Who::viewer, When::ever, statistic},
                        });
  endpoints.push_back(post("/api/streams/create", Access::member, handlersIn(room)(create),
                           planParameters(Parameter::Presence::required)));
  return endpoints;
}

}  // namespace zavelo::sandbox

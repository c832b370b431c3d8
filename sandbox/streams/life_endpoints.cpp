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

constexpr auto streamUserParameter = required(integer("streamUserId", 0, 1e15));

/// Letters and digits only: a slug that began with "-" would look like an option to a command.
std::string freshSlug() {
  std::string slug = makeToken();
  std::erase_if(slug, [](char c) { return c == '-' || c == '_'; });
  return slug.substr(0, 16);
}

Response create(StreamContext& context, const Call& call) {
  const auto plan = planFrom(call.arguments, context.settings);
  if (!plan) return fail(plan.error());
  return context.database.transact([&](Transaction& transaction) {
    const Time now = context.sessions.now();
    const Stream stream =
        addStream(transaction, freshSlug(), *call.identity.member, *plan, std::nullopt, now);
    return succeed(recordOf(transaction, stream, call.identity, context.site, now));
  });
}

Response describe(const StreamCall& call) {
  return succeed(
      recordOf(call.transaction, call.stream, call.identity, call.context.site, call.now));
}

Response beginOrResume(const StreamCall& call) {
  goLive(call.transaction, call.stream, call.now);
  return succeed(true);
}

/// When the owner leaves, the stream pauses; when another user does, their view session ends.
Response leave(const StreamCall& call) {
  if (call.arguments[streamUserParameter] != call.stream.owner) {
    return fail(parameterProblem("streamUserId", "is not the stream's owner"));
  }
  if (call.identity.member != call.stream.owner) {
    return succeed(stopWatching(call.transaction, call.stream.id, call.identity, call.now));
  }
  goPaused(call.transaction, call.stream, call.now);
  return succeed(true);
}

Response finish(const StreamCall& call) {
  stopAllWatching(call.transaction, call.stream.id, call.now);
  goEnded(call.transaction, call.stream, call.now);
  ZVEndStream totals;
  totals.viewCount = call.stream.viewCount;
  totals.likeCount = call.stream.likeCount;
  totals.giftCount = call.stream.giftCount;
  totals.totalGold = call.stream.totalGold;
  totals.duration = secondsLive(call.stream, call.now);
  return succeed(totals);
}

Response statistic(const StreamCall& call) {
  const Stream& stream = call.stream;
  const Member owner = *memberById(call.transaction, stream.owner);
  ZVStreamStatistic totals;
  totals.viewCount = stream.viewCount;
  totals.likeCount = stream.likeCount;
  totals.giftCount = stream.giftCount;
  totals.totalGold = stream.totalGold;
  totals.followerCount = 0;
  totals.status = static_cast<std::int64_t>(stream.status);
  totals.statusMessage = nameOf(stream.status);
  totals.duration = secondsLive(stream, call.now);
  totals.afkStatus = stream.status == StreamStatus::paused ? 1 : 0;
  totals.isShowLike = totals.isShowView = true;
  totals.promoCode = owner.promoCode;
  totals.promoCodeDescription = owner.promoDescription;
  return succeed(totals);
}

Response remove(const StreamCall& call) {
  dropStream(call.transaction, call.stream);
  return succeed(true);
}

}  // namespace

std::vector<Endpoint> streamLifeEndpoints(StreamContext& context) {
  auto endpoints = endpointsOf(
      context,
      {
          {"/api/streams/begin", Who::owner, When::created, beginOrResume},
          {"/api/streams/leave-stream", Who::anybody, When::running, leave, {streamUserParameter}},
          {"/api/streams/resume-detail", Who::owner, When::paused, describe},
          {"/api/streams/resume", Who::owner, When::paused, beginOrResume},
          {"/api/streams/end", Who::owner, When::running, finish},
          {"/api/streams/delete", Who::owner, When::unbegunOrEnded, remove},
          {"/api/streams/detail", Who::anybody, When::ever, describe},
          {"/api/streams/statistic", Who::viewer, When::ever, statistic},
      });
  endpoints.push_back(post("/api/streams/create", Access::member, handlersIn(context)(create),
                           planParameters(Parameter::Presence::required)));
  return endpoints;
}

}  // namespace zavelo::sandbox

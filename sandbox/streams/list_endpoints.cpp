#include <algorithm>
#include <memory>
#include <utility>

#include "sandbox/api/paging.hpp"
#include "sandbox/streams/audience.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/streams/stream_record.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto ownerParameter = required(text("userName", 1, 64));
constexpr auto titleParameter = required(text("title", 1, 500));
constexpr auto passwordParameter = required(streamPasswordParameter);

/// `nextId` is the last id of the page; the newest stream comes first.
Response userStreams(StreamContext& context, const Call& call) {
  const std::int64_t cursor = call.arguments[nextIdParameter];
  const std::int64_t limit = call.arguments[limitParameter];
  return context.database.transact([&](Transaction& transaction) {
    const auto owner = memberByUserName(transaction, call.arguments[ownerParameter]);
    if (!owner) return fail({Code::userNotFound, "There is no member of that userName"});
    auto streams =
        streamsOf(transaction, owner->id, call.identity.member == owner->id, cursor, limit + 1);
    const bool isEnd = std::ssize(streams) <= limit;
    if (!isEnd) streams.pop_back();
    std::vector<std::shared_ptr<ZVStream>> records;
    for (const auto& stream : streams) {
      records.push_back(std::make_shared<ZVStream>(
          recordOf(transaction, stream, call.identity, context.site, context.sessions.now())));
    }
    return succeed(
        ZVUserStream{std::move(records), streams.empty() ? cursor : streams.back().id, isEnd});
  });
}

/// Titles are not unique, so the password decides between streams of the same one.
Response detailByPassword(StreamContext& context, const Call& call) {
  const auto candidates = context.database.transact([&](Transaction& transaction) {
    return lockedStreamsByTitle(transaction, call.arguments[titleParameter]);
  });
  const std::string password = call.arguments[passwordParameter];
  const auto found = std::ranges::find_if(candidates, [&](const Stream& stream) {
    return context.throttle.run([&] { return verifyPassword(stream.passwordHash, password); });
  });
  // One answer for both: a refusal is no hint at which of the two to try next.
  const Problem refusal{Code::noPermission, "Unknown title or wrong password"};
  if (found == candidates.end()) return fail(refusal);
  return context.database.transact([&](Transaction& transaction) {
    const auto stream = streamBySlug(transaction, found->slug);
    if (!stream || stream->passwordHash != found->passwordHash) return fail(refusal);
    unlock(transaction, stream->id, call.identity);
    return succeed(
        recordOf(transaction, *stream, call.identity, context.site, context.sessions.now()));
  });
}

}  // namespace

std::vector<Endpoint> streamListEndpoints(StreamContext& context) {
  const auto at = handlersIn(context);
  return {
      post("/api/users/streams", Access::session, at(userStreams),
           {ownerParameter, nextIdParameter, limitParameter}),
      post("/api/streams/detail/pwd", Access::session, at(detailByPassword),
           {titleParameter, passwordParameter}),
  };
}

}  // namespace zavelo::sandbox

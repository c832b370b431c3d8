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

/// `nextId` is the last id of the page; the newest stream comes first.
Response userStreams(StreamRoom& room, const Call& call) {
  const std::int64_t cursor = *call.arguments.integer("nextId");
  const std::int64_t limit = *call.arguments.integer("limit");
  return room.database.transact([&](Transaction& transaction) {
    const auto owner = memberByUserName(transaction, *call.arguments.text("userName"));
    if (!owner) return fail({Code::userNotFound, "There is no member of that userName"});
    auto streams =
        streamsOf(transaction, owner->id, call.identity.member == owner->id, cursor, limit + 1);
    const bool isEnd = std::ssize(streams) <= limit;
    if (!isEnd) streams.pop_back();
    std::vector<std::shared_ptr<ZVStream>> records;
    for (const auto& stream : streams) {
      records.push_back(std::make_shared<ZVStream>(
          recordOf(transaction, stream, call.identity, room.site, room.sessions.now())));
    }
    return succeed(
        ZVUserStream{std::move(records), streams.empty() ? cursor : streams.back().id, isEnd});
  });
}

/// Titles are not unique, so the password decides between streams of the same one.
Response detailByPassword(StreamRoom& room, const Call& call) {
  const auto candidates = room.database.transact([&](Transaction& transaction) {
    return lockedStreamsByTitle(transaction, *call.arguments.text("title"));
  });
  const std::string password = *call.arguments.text("password");
  const auto found = std::ranges::find_if(candidates, [&](const Stream& stream) {
    return room.throttle.run([&] { return verifyPassword(stream.passwordHash, password); });
  });
  // One answer for both: a refusal is no hint at which of the two to try next.
  const Problem refusal{Code::noPermission, "Unknown title or wrong password"};
  if (found == candidates.end()) return fail(refusal);
  return room.database.transact([&](Transaction& transaction) {
    const auto stream = streamBySlug(transaction, found->slug);
    if (!stream || stream->passwordHash != found->passwordHash) return fail(refusal);
    unlock(transaction, stream->id, call.identity);
    return succeed(recordOf(transaction, *stream, call.identity, room.site, room.sessions.now()));
  });
}

}  // namespace

std::vector<Endpoint> streamListEndpoints(StreamRoom& room) {
  const auto at = handlersIn(room);
  return {
      post("/api/users/streams", Access::session, at(userStreams),
           {required(text("userName", 1, 64)), nextIdParameter, limitParameter}),
      post("/api/streams/detail/pwd", Access::session, at(detailByPassword),
           {required(text("title", 1, 500)), required(streamPasswordParameter)}),
  };
}

}  // namespace zavelo::sandbox

#include <memory>

#include "sandbox/api/paging.hpp"
#include "sandbox/streams/audience.hpp"
#include "sandbox/streams/stream_endpoints.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/stream_totals.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo::sandbox {
namespace {

/// Owners do not count among their viewers.
Response countView(const StreamCall& of) {
  if (of.call.identity.member == of.stream.owner) return succeed(false);
  watch(of.transaction, of.stream.id, of.call.identity, of.now);
  return succeed(true);
}

Response viewers(const StreamCall& of) {
  std::vector<std::shared_ptr<ZVUser>> users;
  for (const auto& [member, guest] :
       viewersOf(of.transaction, of.stream.id, *of.call.arguments.integer("nextId"),
                 *of.call.arguments.integer("limit"))) {
    auto user = std::make_shared<ZVUser>();
    user->guestId = guest;
    if (member) {
      const Member known = *memberById(of.transaction, *member);
      user->userName = known.userName;
      user->userInfo = std::make_shared<ZVUserInfo>(profileOf(known, of.room.site));
    }
    users.push_back(std::move(user));
  }
  return succeed(users);
}

/// A unique like is one, whatever the count.
Response likeStream(const StreamCall& of) {
  std::int64_t count = *of.call.arguments.integer("count");
  if (!*of.call.arguments.flag("isUnique")) {
    like(of.transaction, of.stream.id, of.call.identity, count);
  } else if (reactionOf(of.transaction, of.stream.id, of.call.identity).hasLikedUniquely) {
    return fail({Code::alreadyLikeStream, "You like this stream already"});
  } else {
    likeUniquely(of.transaction, of.stream.id, of.call.identity);
    count = 1;
  }
  return succeed(ZVLikeStream{of.stream.likeCount + count});
}

Response reportStream(const StreamCall& of) {
  report(of.transaction, of.stream.id, of.call.identity, *of.call.arguments.text("reason"));
  return succeed(true);
}

Response unreportStream(const StreamCall& of) {
  return succeed(unreport(of.transaction, of.stream.id, of.call.identity));
}

Response countShare(const StreamCall& of) {
  of.transaction.run("UPDATE streams SET shares = shares + 1 WHERE id = ?", of.stream.id);
  return succeed(true);
}

Response tags(StreamRoom& room, const Call&) {
  std::vector<std::shared_ptr<ZVStreamTag>> records;
  for (const auto& [id, name, image] : room.settings.tags) {
    records.push_back(std::make_shared<ZVStreamTag>(ZVStreamTag{id, name, image}));
  }
  return succeed(records);
}

/// Without parameters it answers the tags: that is where clients ask for them.
Response likeOrTags(StreamRoom& room, const Call& call) {
  if (call.arguments.empty()) return tags(room, call);
  return perform(room, {"/api/streams/like", Who::viewer, When::running, likeStream}, call);
}

}  // namespace

std::vector<Endpoint> audienceEndpoints(StreamRoom& room) {
  auto endpoints = endpointsOf(
      room, {
                {"/api/streams/update-viewcount", Who::viewer, When::running, countView},
                {"/api/streams/viewer-list",
                 Who::viewer,
                 When::ever,
                 viewers,
                 {nextIdParameter, limitParameter}},
                {"/api/streams/report",
                 Who::anybody,
                 When::ever,
                 reportStream,
                 {required(text("reason", 1, 1000))}},
                {"/api/streams/unreport", Who::anybody, When::ever, unreportStream},
                {"/api/streams/share-click-tracking", Who::anybody, When::ever, countShare},
            });
  const auto at = handlersIn(room);
  endpoints.push_back(post("/api/streams/tags", Access::session, at(tags)));
  endpoints.push_back(
      post("/api/streams/like", Access::session, at(likeOrTags),
           {requiredUnlessBare(slugParameter), requiredUnlessBare(integer("count", 1, 1000)),
            requiredUnlessBare(flag("isUnique"))}));
  return endpoints;
}

}  // namespace zavelo::sandbox

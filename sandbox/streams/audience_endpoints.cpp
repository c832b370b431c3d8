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

constexpr auto countParameter = requiredUnlessBare(integer("count", 1, 1000));
constexpr auto isUniqueParameter = requiredUnlessBare(flag("isUnique"));
constexpr auto reasonParameter = required(text("reason", 1, 1000));

/// Owners do not count among their viewers.
Response countView(const StreamCall& call) {
  if (call.identity.member == call.stream.owner) return succeed(false);
  watch(call.transaction, call.stream.id, call.identity, call.now);
  return succeed(true);
}

Response viewers(const StreamCall& call) {
  std::vector<std::shared_ptr<ZVUser>> users;
  for (const auto& [member, guest] :
       viewersOf(call.transaction, call.stream.id, call.arguments[nextIdParameter],
                 call.arguments[limitParameter])) {
    auto user = std::make_shared<ZVUser>();
    user->guestId = guest;
    if (member) {
      const Member known = *memberById(call.transaction, *member);
      user->userName = known.userName;
      user->userInfo = std::make_shared<ZVUserInfo>(profileOf(known, call.context.site));
    }
    users.push_back(std::move(user));
  }
  return succeed(users);
}

/// A unique like is one, whatever the count.
Response likeStream(const StreamCall& call) {
  std::int64_t count = call.arguments[countParameter];
  if (!call.arguments[isUniqueParameter]) {
    like(call.transaction, call.stream.id, call.identity, count);
  } else if (reactionOf(call.transaction, call.stream.id, call.identity).hasLikedUniquely) {
    return fail({Code::alreadyLikeStream, "You like this stream already"});
  } else {
    likeUniquely(call.transaction, call.stream.id, call.identity);
    count = 1;
  }
  return succeed(ZVLikeStream{call.stream.likeCount + count});
}

Response reportStream(const StreamCall& call) {
  report(call.transaction, call.stream.id, call.identity, call.arguments[reasonParameter]);
  return succeed(true);
}

Response unreportStream(const StreamCall& call) {
  return succeed(unreport(call.transaction, call.stream.id, call.identity));
}

Response countShare(const StreamCall& call) {
  call.transaction.run("UPDATE streams SET shares = shares + 1 WHERE id = ?", call.stream.id);
  return succeed(true);
}

Response tags(StreamContext& context, const Call&) {
  std::vector<std::shared_ptr<ZVStreamTag>> records;
  for (const auto& [id, name, image] : context.settings.tags) {
    records.push_back(std::make_shared<ZVStreamTag>(ZVStreamTag{id, name, image}));
  }
  return succeed(records);
}

/// Without parameters it answers the tags: that is where clients ask for them.
Response likeOrTags(StreamContext& context, const Call& call) {
  if (call.arguments.empty()) return tags(context, call);
  return perform(context, {"/api/streams/like", Who::viewer, When::running, likeStream}, call);
}

}  // namespace

std::vector<Endpoint> audienceEndpoints(StreamContext& context) {
  auto endpoints = endpointsOf(
      context,
      {
          {"/api/streams/update-viewcount", Who::viewer, When::running, countView},
          {"/api/streams/viewer-list",
           Who::viewer,
           When::ever,
           viewers,
           {nextIdParameter, limitParameter}},
          {"/api/streams/report", Who::anybody, When::ever, reportStream, {reasonParameter}},
          {"/api/streams/unreport", Who::anybody, When::ever, unreportStream},
          {"/api/streams/share-click-tracking", Who::anybody, When::ever, countShare},
      });
  const auto at = handlersIn(context);
  endpoints.push_back(post("/api/streams/tags", Access::session, at(tags)));
  endpoints.push_back(
      post("/api/streams/like", Access::session, at(likeOrTags),
           {requiredUnlessBare(text(slugParameter.name, slugParameter.least, slugParameter.most)),
            countParameter, isUniqueParameter}));
  return endpoints;
}

}  // namespace zavelo::sandbox

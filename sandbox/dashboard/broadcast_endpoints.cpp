#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/dashboard/record_json.hpp"
#include "sandbox/state/table.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/totals.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/sandbox/streams/";
constexpr std::string_view channels = "/sandbox/channels/";
constexpr int mostShown = 200;

struct ListedStream {
  std::int64_t id = 0;
  std::string slug;
  std::string title;
  std::string owner;
  StreamStatus status{};
  bool isLocked = false;
  std::string tag;
  std::int64_t created = 0;
  std::optional<std::int64_t> begun;
  std::optional<std::int64_t> ended;
  std::int64_t viewers = 0;
  std::int64_t views = 0;
  std::int64_t likes = 0;
  std::int64_t gold = 0;
};
constexpr auto listedStreams = tableOf<ListedStream>(
    "streams", key<&ListedStream::id>(), column<&ListedStream::slug>(),
    column<&ListedStream::title>(),
    computed<&ListedStream::owner>("(SELECT user_name FROM members WHERE id = streams.owner)"),
    column<&ListedStream::status>(), computed<&ListedStream::isLocked>("password IS NOT NULL"),
    column<&ListedStream::tag>(), column<&ListedStream::created>(), column<&ListedStream::begun>(),
    column<&ListedStream::ended>(), computed<&ListedStream::viewers>(totals::viewersNow),
    computed<&ListedStream::views>(totals::views), computed<&ListedStream::likes>(totals::likes),
    computed<&ListedStream::gold>(totals::gold));

struct ListedViewer {
  std::string name;
  bool isGuest = false;
  std::string displayName;
  std::int64_t since = 0;
};
constexpr auto listedViewers = tableOf<ListedViewer>(
    "view_sessions v JOIN streams s ON s.id = v.stream LEFT JOIN members m ON m.id = v.member",
    computed<&ListedViewer::name>("coalesce(m.user_name, 'guest ' || v.guest)"),
    computed<&ListedViewer::isGuest>("v.member IS NULL"),
    computed<&ListedViewer::displayName>("coalesce(m.display_name, '')"),
    column<&ListedViewer::since>("v.begun"));

struct ListedGiver {
  std::string name;
  std::string displayName;
  std::int64_t gold = 0;
  std::int64_t gifts = 0;
};
constexpr auto listedGivers = tableOf<ListedGiver>(
    "gifts g JOIN members m ON m.id = g.sender", column<&ListedGiver::name>("m.user_name"),
    column<&ListedGiver::displayName>("m.display_name"),
    computed<&ListedGiver::gold>("sum(g.gold)"), computed<&ListedGiver::gifts>("sum(g.amount)"));

/// The newest streams that the condition selects.
template <class... Args>
std::vector<ListedStream> newestStreams(Transaction& transaction, const std::string& condition,
                                        const Args&... args) {
  return listedStreams.list(transaction, condition + " ORDER BY id DESC LIMIT ?", args...,
                            mostShown);
}

json::Array viewersOf(Transaction& transaction, std::string_view slug) {
  return arrayOf(
      listedViewers,
      listedViewers.list(transaction, "s.slug = ? AND v.ended IS NULL ORDER BY v.id LIMIT ?", slug,
                         mostShown));
}

/// The users who gave the most gold in the stream.
json::Array giversOf(Transaction& transaction, std::int64_t stream) {
  return arrayOf(
      listedGivers,
      listedGivers.list(
          transaction,
          "g.stream = ? GROUP BY g.sender ORDER BY sum(g.gold) DESC, g.sender LIMIT 10", stream));
}

/// The stream's latest poll; null when it never had one.
json::Value pollJson(Transaction& transaction, std::int64_t stream) {
  const auto poll = latestPoll(transaction, stream);
  if (!poll) return {};
  json::Array options;
  for (std::size_t i = 0; i < poll->options.size(); ++i) {
    options.emplace_back(json::Object{{"text", poll->options[i]}, {"votes", poll->votes[i]}});
  }
  return json::Object{{"question", poll->question},
                      {"isRunning", poll->status == PollStatus::running},
                      {"options", std::move(options)}};
}

json::Array pointsOf(const std::vector<CurvePoint>& curve) {
  json::Array points;
  for (const auto& [at, viewers, likes, gold] : curve) {
    points.emplace_back(
        json::Object{{"at", stored(at)}, {"viewers", viewers}, {"likes", likes}, {"gold", gold}});
  }
  return points;
}

Response listStreams(DashboardContext& context, const Call&) {
  return context.database.transact([&](Transaction& transaction) {
    return succeed(json::Value(
        json::Object{{"now", stored(context.now())},
                     {"streams", arrayOf(listedStreams, newestStreams(transaction, "true"))}}));
  });
}

Response showStream(DashboardContext& context, const Call& call) {
  const auto slug = std::string_view(call.request.path).substr(root.size());
  return context.database.transact([&](Transaction& transaction) {
    const auto found = newestStreams(transaction, "slug = ?", slug);
    if (found.empty()) return failWithStatus(404, "There is no such stream");
    const auto id = found.front().id;
    return succeed(json::Value(json::Object{{"now", stored(context.now())},
                                            {"stream", arrayOf(listedStreams, found).front()},
                                            {"viewers", viewersOf(transaction, slug)},
                                            {"givers", giversOf(transaction, id)},
                                            {"poll", pollJson(transaction, id)},
                                            {"curve", pointsOf(context.watch.curveOf(id))}}));
  });
}

/// What can be given.
Response listGifts(DashboardContext& context, const Call&) {
  json::Array gifts;
  for (const auto& gift : context.settings.gifts) {
    gifts.emplace_back(json::Object{{"giftId", gift.id}, {"name", gift.name}, {"gold", gift.gold}});
  }
  return succeed(json::Value(json::Object{{"gifts", std::move(gifts)}}));
}

/// What was said lately in the channel of that id.
Response showChat(DashboardContext& context, const Call& call) {
  const auto channelId = std::string_view(call.request.path).substr(channels.size());
  return succeedWith(R"({"entries":)" + context.chat.entries(channelId) + "}");
}

}  // namespace

std::vector<Endpoint> broadcastEndpoints(DashboardContext& context) {
  const auto at = handlersIn(context);
  return {get("/sandbox/streams", at(listStreams)), get("/sandbox/streams/*", at(showStream)),
          get("/sandbox/gifts", at(listGifts)), get("/sandbox/channels/*", at(showChat))};
}

}  // namespace zavelo::sandbox

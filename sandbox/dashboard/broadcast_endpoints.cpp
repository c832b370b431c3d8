#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/streams/stream.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/sandbox/streams/";
constexpr std::string_view channels = "/sandbox/channels/";
constexpr int mostShown = 200;

json::Value integerOrNull(const Row& row, std::size_t column) {
  return row.isNull(column) ? json::Value() : json::Value(row.integer(column));
}

/// The newest streams, as far as the condition takes them.
json::Array streamsWhere(Transaction& transaction, const std::string& condition,
                         std::string_view slug = {}) {
  json::Array streams;
  for (const auto& row : transaction.all(
           "SELECT s.id, s.slug, s.title, m.user_name, s.status, s.password IS NOT NULL, s.tag, "
           "s.created, s.begun, s.ended, "
           "(SELECT count(*) FROM view_sessions WHERE stream = s.id AND ended IS NULL), "
           "(SELECT count(*) FROM view_sessions WHERE stream = s.id), "
           "(SELECT coalesce(sum(likes), 0) FROM reactions WHERE stream = s.id), "
           "(SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = s.id) "
           "FROM streams s JOIN members m ON m.id = s.owner WHERE " +
               condition + " ORDER BY s.id DESC LIMIT ?2",
           slug, mostShown)) {
    streams.emplace_back(json::Object{{"id", row.integer(0)},
                                      {"slug", row.text(1)},
                                      {"title", row.text(2)},
                                      {"owner", row.text(3)},
                                      {"status", nameOf(static_cast<StreamStatus>(row.integer(4)))},
                                      {"isLocked", row.integer(5) != 0},
                                      {"tag", row.text(6)},
                                      {"created", row.integer(7)},
                                      {"begun", integerOrNull(row, 8)},
                                      {"ended", integerOrNull(row, 9)},
                                      {"viewers", row.integer(10)},
                                      {"views", row.integer(11)},
                                      {"likes", row.integer(12)},
                                      {"gold", row.integer(13)}});
  }
  return streams;
}

json::Array viewersOf(Transaction& transaction, std::string_view slug) {
  json::Array viewers;
  for (const auto& row :
       transaction.all("SELECT coalesce(m.user_name, 'guest ' || v.guest), v.member IS NULL, "
                       "coalesce(m.display_name, ''), v.begun "
                       "FROM view_sessions v JOIN streams s ON s.id = v.stream "
                       "LEFT JOIN members m ON m.id = v.member "
                       "WHERE s.slug = ? AND v.ended IS NULL ORDER BY v.id LIMIT ?",
                       slug, mostShown)) {
    viewers.emplace_back(json::Object{{"name", row.text(0)},
                                      {"isGuest", row.integer(1) != 0},
                                      {"displayName", row.text(2)},
                                      {"since", row.integer(3)}});
  }
  return viewers;
}

/// Who gave the most gold in the stream.
json::Array giversOf(Transaction& transaction, std::int64_t stream) {
  json::Array givers;
  for (const auto& row : transaction.all(
           "SELECT m.user_name, m.display_name, sum(g.gold), sum(g.amount) FROM gifts g "
           "JOIN members m ON m.id = g.sender WHERE g.stream = ? "
           "GROUP BY g.sender ORDER BY 3 DESC, g.sender LIMIT 10",
           stream)) {
    givers.emplace_back(json::Object{{"name", row.text(0)},
                                     {"displayName", row.text(1)},
                                     {"gold", row.integer(2)},
                                     {"gifts", row.integer(3)}});
  }
  return givers;
}

/// The stream's latest poll; null when it never had one.
json::Value pollOf(Transaction& transaction, std::int64_t stream) {
  const auto row = transaction.first(
      "SELECT id, question, option1, option2, option3, status FROM polls WHERE stream = ? "
      "ORDER BY id DESC LIMIT 1",
      stream);
  if (!row) return {};
  json::Array options;
  for (std::size_t choice = 1; choice <= 3; ++choice) {
    const auto option = row->textOrNone(choice + 1);
    if (!option) break;
    const auto votes = transaction.first(
        "SELECT coalesce(sum(count), 0) FROM poll_votes WHERE poll = ? AND choice = ?",
        row->integer(0), choice);
    options.emplace_back(json::Object{{"text", *option}, {"votes", votes->integer(0)}});
  }
  const bool isRunning = row->integer(5) == static_cast<std::int64_t>(PollStatus::running);
  return json::Object{
      {"question", row->text(1)}, {"isRunning", isRunning}, {"options", std::move(options)}};
}

json::Array pointsOf(const std::vector<CurvePoint>& curve) {
  json::Array points;
  for (const auto& [at, viewers, likes, gold] : curve) {
    points.emplace_back(
        json::Object{{"at", stored(at)}, {"viewers", viewers}, {"likes", likes}, {"gold", gold}});
  }
  return points;
}

Response listStreams(DashboardRoom& room, const Call&) {
  return room.database.transact([&](Transaction& transaction) {
    return succeed(json::Value(json::Object{{"now", stored(room.now())},
                                            {"streams", streamsWhere(transaction, "?1 = ''")}}));
  });
}

Response showStream(DashboardRoom& room, const Call& call) {
  const auto slug = std::string_view(call.request.path).substr(root.size());
  return room.database.transact([&](Transaction& transaction) {
    const auto found = streamsWhere(transaction, "s.slug = ?1", slug);
    if (found.empty()) return failWithStatus(404, "There is no such stream");
    const auto id = *found.front().as<json::Object>()->find("id")->as<std::int64_t>();
    return succeed(json::Value(json::Object{{"now", stored(room.now())},
                                            {"stream", found.front()},
                                            {"viewers", viewersOf(transaction, slug)},
                                            {"givers", giversOf(transaction, id)},
                                            {"poll", pollOf(transaction, id)},
                                            {"curve", pointsOf(room.watch.curveOf(id))}}));
  });
}

/// What can be given.
Response listGifts(DashboardRoom& room, const Call&) {
  json::Array gifts;
  for (const auto& gift : room.settings.gifts) {
    gifts.emplace_back(json::Object{{"giftId", gift.id}, {"name", gift.name}, {"gold", gift.gold}});
  }
  return succeed(json::Value(json::Object{{"gifts", std::move(gifts)}}));
}

/// What was said lately in the channel of that id.
Response showChat(DashboardRoom& room, const Call& call) {
  const auto channelId = std::string_view(call.request.path).substr(channels.size());
  return succeedWith(R"({"entries":)" + room.chat.entries(channelId) + "}");
}

}  // namespace

std::vector<Endpoint> broadcastEndpoints(DashboardRoom& room) {
  const auto at = handlersIn(room);
  return {get("/sandbox/streams", at(listStreams)), get("/sandbox/streams/*", at(showStream)),
          get("/sandbox/gifts", at(listGifts)), get("/sandbox/channels/*", at(showChat))};
}

}  // namespace zavelo::sandbox

#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/streams/stream.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/sandbox/streams/";
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
           "(SELECT coalesce(sum(likes), 0) FROM reactions WHERE stream = s.id) "
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
                                      {"likes", row.integer(12)}});
  }
  return streams;
}

json::Array viewersOf(Transaction& transaction, std::string_view slug) {
  json::Array viewers;
  for (const auto& row :
       transaction.all("SELECT coalesce(m.user_name, 'guest ' || v.guest), "
                       "coalesce(m.display_name, ''), v.begun "
                       "FROM view_sessions v JOIN streams s ON s.id = v.stream "
                       "LEFT JOIN members m ON m.id = v.member "
                       "WHERE s.slug = ? AND v.ended IS NULL ORDER BY v.id LIMIT ?",
                       slug, mostShown)) {
    viewers.emplace_back(json::Object{
        {"name", row.text(0)}, {"displayName", row.text(1)}, {"since", row.integer(2)}});
  }
  return viewers;
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
                                            {"curve", pointsOf(room.watch.curveOf(id))}}));
  });
}

}  // namespace

std::vector<Endpoint> broadcastEndpoints(DashboardRoom& room) {
  const auto at = handlersIn(room);
  return {get("/sandbox/streams", at(listStreams)), get("/sandbox/streams/*", at(showStream))};
}

}  // namespace zavelo::sandbox

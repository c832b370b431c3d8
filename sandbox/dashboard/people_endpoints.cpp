#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/api/unicode.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/users/tokens.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view finding = "/sandbox/users/";
constexpr int mostShown = 200;

json::Value textOrNull(const Row& row, std::size_t column) {
  return row.isNull(column) ? json::Value() : json::Value(row.text(column));
}

json::Value integerOrNull(const Row& row, std::size_t column) {
  return row.isNull(column) ? json::Value() : json::Value(row.integer(column));
}

/// The newest members whose names contain the text, case aside. With the session that they have
/// now, how long its access token holds, and how many devices were told that it moved.
json::Array membersWith(Transaction& transaction, const std::string& text) {
  json::Array members;
  for (const auto& row : transaction.all(
           "SELECT m.user_name, m.zavelo_id, m.display_name, m.banned, m.created, m.gold, "
           "s.device, "
           "(SELECT max(expires) FROM access_tokens WHERE session = s.id), "
           "(SELECT count(*) FROM sessions WHERE member = m.id AND taken_over = 1) "
           "FROM members m LEFT JOIN sessions s ON s.member = m.id AND s.taken_over = 0 "
           "WHERE instr(m.folded_name, ?1) + instr(lower(m.user_name), ?1) "
           "+ instr(lower(m.zavelo_id), ?1) > 0 ORDER BY m.id DESC LIMIT ?2",
           caseFolded(text), mostShown)) {
    members.emplace_back(json::Object{{"userName", row.text(0)},
                                      {"zaveloId", row.text(1)},
                                      {"displayName", row.text(2)},
                                      {"isBanned", row.integer(3) != 0},
                                      {"created", row.integer(4)},
                                      {"gold", row.integer(5)},
                                      {"device", textOrNull(row, 6)},
                                      {"expires", integerOrNull(row, 7)},
                                      {"devicesTakenOver", row.integer(8)}});
  }
  return members;
}

json::Array guests(Transaction& transaction) {
  json::Array list;
  for (const auto& row :
       transaction.all("SELECT g.id, g.device, "
                       "(SELECT max(expires) FROM access_tokens WHERE session = s.id) "
                       "FROM guests g JOIN sessions s ON s.guest = g.id ORDER BY g.id DESC LIMIT ?",
                       mostShown)) {
    list.emplace_back(json::Object{
        {"guest", row.integer(0)}, {"device", row.text(1)}, {"expires", integerOrNull(row, 2)}});
  }
  return list;
}

Response listUsers(DashboardRoom& room, const Call& call) {
  const std::string_view path = call.request.path;
  const std::string text(path.starts_with(finding) ? path.substr(finding.size())
                                                   : std::string_view());
  if (!isUtf8(text)) return fail({Code::modelInvalid, "The name is not UTF-8"});
  return room.database.transact([&](Transaction& transaction) {
    const auto total = transaction.first("SELECT count(*) FROM members")->integer(0);
    return succeed(json::Value(json::Object{{"now", stored(room.now())},
                                            {"total", total},
                                            {"members", membersWith(transaction, text)},
                                            {"guests", guests(transaction)}}));
  });
}

}  // namespace

std::vector<Endpoint> peopleEndpoints(DashboardRoom& room) {
  const auto at = handlersIn(room);
  return {get("/sandbox/users", at(listUsers)), get("/sandbox/users/*", at(listUsers))};
}

UserNames namesOf(Database& database, const std::string& userId) {
  const auto row = database.transact([&](Transaction& transaction) {
    return transaction.first("SELECT user_name, display_name FROM members WHERE id = ?", userId);
  });
  return row ? UserNames{row->text(0), row->text(1)} : UserNames{};
}

std::string callerOf(Database& database, const Request& request) {
  const auto token = bearerToken(request);
  if (token.empty()) return {};
  const auto row = database.transact([&](Transaction& transaction) {
    return transaction.first(
        "SELECT coalesce(m.user_name, 'guest ' || s.guest) FROM access_tokens t "
        "JOIN sessions s ON s.id = t.session LEFT JOIN members m ON m.id = s.member "
        "WHERE t.hash = ?",
        tokenHash(token));
  });
  return row ? row->text(0) : std::string();
}

}  // namespace zavelo::sandbox

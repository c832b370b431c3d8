#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/api/unicode.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/dashboard/record_json.hpp"
#include "sandbox/state/table.hpp"
#include "sandbox/users/tokens.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view finding = "/sandbox/users/";
constexpr int mostShown = 200;

/// A member with the session of now, if there is one: how long its access token holds, and how many
/// devices were told that the session moved to another one.
struct ListedMember {
  std::string userName;
  std::string zaveloId;
  std::string displayName;
  bool isBanned = false;
  std::int64_t created = 0;
  std::int64_t gold = 0;
  std::optional<std::string> device;
  std::optional<std::int64_t> expires;
  std::int64_t devicesTakenOver = 0;
};
constexpr auto listedMembers = tableOf<ListedMember>(
    "members LEFT JOIN sessions s ON s.member = members.id AND s.taken_over = 0",
    column<&ListedMember::userName>(), column<&ListedMember::zaveloId>(),
    column<&ListedMember::displayName>(), column<&ListedMember::isBanned>("banned"),
    column<&ListedMember::created>(), column<&ListedMember::gold>(),
    column<&ListedMember::device>(),
    computed<&ListedMember::expires>(
        "(SELECT max(expires) FROM access_tokens WHERE session = s.id)"),
    computed<&ListedMember::devicesTakenOver>(
        "(SELECT count(*) FROM sessions WHERE member = members.id AND taken_over = 1)"));

struct ListedGuest {
  std::int64_t guest = 0;
  std::string device;
  std::optional<std::int64_t> expires;
};
constexpr auto listedGuests = tableOf<ListedGuest>(
    "guests JOIN sessions s ON s.guest = guests.id", column<&ListedGuest::guest>("guests.id"),
    column<&ListedGuest::device>("guests.device"),
    computed<&ListedGuest::expires>(
        "(SELECT max(expires) FROM access_tokens WHERE session = s.id)"));

/// The newest members whose names contain the text, case aside.
json::Array membersWith(Transaction& transaction, const std::string& text) {
  return arrayOf(listedMembers,
                 listedMembers.list(transaction,
                                    "instr(folded_name, ?1) + instr(lower(user_name), ?1) "
                                    "+ instr(lower(zavelo_id), ?1) > 0 "
                                    "ORDER BY members.id DESC LIMIT ?2",
                                    caseFolded(text), mostShown));
}

json::Array guests(Transaction& transaction) {
  return arrayOf(listedGuests,
                 listedGuests.list(transaction, "true ORDER BY guests.id DESC LIMIT ?", mostShown));
}

Response listUsers(DashboardContext& context, const Call& call) {
  const std::string_view path = call.request.path;
  const std::string text(path.starts_with(finding) ? path.substr(finding.size())
                                                   : std::string_view());
  if (!isUtf8(text)) return fail({Code::modelInvalid, "The name is not UTF-8"});
  return context.database.transact([&](Transaction& transaction) {
    const auto total = transaction.value<std::int64_t>("SELECT count(*) FROM members");
    return succeed(json::Value(json::Object{{"now", stored(context.now())},
                                            {"total", total},
                                            {"members", membersWith(transaction, text)},
                                            {"guests", guests(transaction)}}));
  });
}

}  // namespace

std::vector<Endpoint> peopleEndpoints(DashboardContext& context) {
  const auto at = handlersIn(context);
  return {get("/sandbox/users", at(listUsers)), get("/sandbox/users/*", at(listUsers))};
}

UserNames namesOf(Database& database, const std::string& userId) {
  const auto row = database.transact([&](Transaction& transaction) {
    return transaction.first<std::string, std::string>(
        "SELECT user_name, display_name FROM members WHERE id = ?", userId);
  });
  if (!row) return {};
  const auto& [userName, displayName] = *row;
  return {userName, displayName};
}

std::string callerOf(Database& database, const Request& request) {
  const auto token = bearerToken(request);
  if (token.empty()) return {};
  const auto name = database.transact([&](Transaction& transaction) {
    return transaction.find<std::string>(
        "SELECT coalesce(m.user_name, 'guest ' || s.guest) FROM access_tokens t "
        "JOIN sessions s ON s.id = t.session LEFT JOIN members m ON m.id = s.member "
        "WHERE t.hash = ?",
        tokenHash(token));
  });
  return name.value_or("");
}

}  // namespace zavelo::sandbox

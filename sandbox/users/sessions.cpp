#include "sandbox/users/sessions.hpp"

#include <utility>

#include "sandbox/users/tokens.hpp"

namespace zavelo::sandbox {
namespace {

/// How many devices of a member are remembered as taken over.
constexpr int rememberedDevices = 20;

/// A token and the session that it belongs to.
struct Found {
  std::int64_t session;
  std::optional<std::int64_t> member;
  std::optional<std::int64_t> guest;
  bool takenOver;
  bool banned;
  Time expires;
  std::optional<Time> used;  ///< only of a refresh token
};

std::optional<Found> find(Transaction& transaction, bool isAccessToken, std::string_view token) {
  const std::string source =
      isAccessToken ? "NULL FROM access_tokens" : "t.used FROM refresh_tokens";
  const auto row =
      transaction.first<std::int64_t, std::optional<std::int64_t>, std::optional<std::int64_t>,
                        bool, bool, Time, std::optional<Time>>(
          "SELECT s.id, s.member, s.guest, s.taken_over, coalesce(m.banned, 0), t.expires, " +
              source +
              " t JOIN sessions s ON s.id = t.session LEFT JOIN members m ON m.id = s.member "
              "WHERE t.hash = ?",
          tokenHash(token));
  if (!row) return {};
  return std::apply([](const auto&... values) { return Found{values...}; }, *row);
}

/// What ends a session whatever its token says. Looked at before the token's own age: a client
/// whose token has expired should learn the true reason too.
std::optional<Problem> refusal(const Found& found) {
  if (found.banned) return bannedProblem();
  if (found.takenOver) {
    return Problem{Code::loggedInOtherDevice, "This account signed in on another device"};
  }
  return {};
}

}  // namespace

Problem bannedProblem() {
  return {Code::banned, "This account is banned"};
}

Tokens Sessions::signInMember(Transaction& transaction, std::int64_t member,
                              const std::string& device) const {
  transaction.run("DELETE FROM sessions WHERE member = ? AND device = ?", member, device);
  takeOver(transaction, member);
  transaction.run(
      "DELETE FROM sessions WHERE member = ?1 AND id NOT IN "
      "(SELECT id FROM sessions WHERE member = ?1 ORDER BY id DESC LIMIT ?2)",
      member, rememberedDevices);
  transaction.run("INSERT INTO sessions (member, device) VALUES (?, ?)", member, device);
  return issue(transaction, transaction.lastId());
}

Tokens Sessions::signInGuest(Transaction& transaction, std::int64_t guest,
                             const std::string& device) const {
  transaction.run("DELETE FROM sessions WHERE guest = ?", guest);
  transaction.run("INSERT INTO sessions (guest, device) VALUES (?, ?)", guest, device);
  return issue(transaction, transaction.lastId());
}

Result<Identity, Problem> Sessions::identify(Transaction& transaction,
                                             std::string_view accessToken) const {
  const Failure unauthorized{Problem{Code::unauthorized, "Unauthorized!"}};
  const auto found = find(transaction, true, accessToken);
  if (!found) return unauthorized;
  if (auto problem = refusal(*found)) return Failure{std::move(*problem)};
  if (found->expires <= now()) return unauthorized;
  return Identity{found->session, found->member, found->guest};
}

Result<Tokens, Problem> Sessions::renew(Transaction& transaction,
                                        std::string_view refreshToken) const {
  const Failure invalid{Problem{Code::invalidRefreshToken, "The refresh token is not valid"}};
  const Time time = now();
  const auto found = find(transaction, false, refreshToken);
  if (!found) return invalid;
  if (auto problem = refusal(*found)) return Failure{std::move(*problem)};
  if (found->expires <= time) return invalid;
  if (found->used && time > *found->used + lifetimes_.grace) {
    end(transaction, found->session);
    return invalid;
  }
  if (!found->used) {
    transaction.run("UPDATE refresh_tokens SET used = ? WHERE hash = ?", time,
                    tokenHash(refreshToken));
  }
  return issue(transaction, found->session);
}

void Sessions::end(Transaction& transaction, std::int64_t session) {
  transaction.run("DELETE FROM sessions WHERE id = ?", session);
}

std::int64_t Sessions::takeOver(Transaction& transaction, std::int64_t member) {
  return transaction.run("UPDATE sessions SET taken_over = 1 WHERE member = ? AND taken_over = 0",
                         member);
}

std::int64_t Sessions::expireAccessTokens(Transaction& transaction,
                                          std::optional<std::int64_t> member) const {
  return transaction.run(
      "UPDATE access_tokens SET expires = 0 WHERE expires > ?1 AND "
      "(?2 IS NULL OR session IN (SELECT id FROM sessions WHERE member = ?2))",
      now(), member);
}

Tokens Sessions::issue(Transaction& transaction, std::int64_t session) const {
  const Time time = now();
  for (const char* forget : {"DELETE FROM access_tokens WHERE session = ? AND expires <= ?",
                             "DELETE FROM refresh_tokens WHERE session = ? AND expires <= ?"}) {
    transaction.run(forget, session, time);
  }
  Tokens tokens{makeToken(), makeToken(), time + lifetimes_.access};
  transaction.run("INSERT INTO access_tokens (hash, session, expires) VALUES (?, ?, ?)",
                  tokenHash(tokens.access), session, tokens.expires);
  transaction.run("INSERT INTO refresh_tokens (hash, session, expires) VALUES (?, ?, ?)",
                  tokenHash(tokens.refresh), session, time + lifetimes_.refresh);
  return tokens;
}

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/api/envelope.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// What a sign-in or a renewal hands out.
struct Tokens {
  std::string access;
  std::string refresh;
  Time expires{};  ///< of the access token
};

/// What a banned member is told at every call and sign-in.
[[nodiscard]] Problem bannedProblem();

/// Sessions and their tokens: one session a member and one a guest.
class Sessions {
 public:
  struct Lifetimes {
    std::chrono::milliseconds access;
    std::chrono::milliseconds refresh;
    /// For how long a traded refresh token is still answered with another pair. Tokens rotate so
    /// that a stolen one is noticed (RFC 9700 section 4.14.2), but an app whose calls meet an
    /// expired access token together renews once for each of them, with the same refresh token.
    std::chrono::milliseconds grace;
  };

  Sessions(std::shared_ptr<const Clock> clock, Lifetimes lifetimes)
      : clock_(std::move(clock)), lifetimes_(lifetimes) {}

  /// Ends the member's session on the same device without a word, and takes it over from another.
  Tokens signInMember(Transaction& transaction, std::int64_t member,
                      const std::string& device) const;
  Tokens signInGuest(Transaction& transaction, std::int64_t guest, const std::string& device) const;

  [[nodiscard]] Result<Identity, Problem> identify(Transaction& transaction,
                                                   std::string_view accessToken) const;
  /// A new pair for the session of that refresh token. A token that was traded before the grace
  /// ends its session: there is a copy of it.
  Result<Tokens, Problem> renew(Transaction& transaction, std::string_view refreshToken) const;

  static void end(Transaction& transaction, std::int64_t session);

  /// As if another device had signed in. Returns how many sessions that concerned.
  static std::int64_t takeOver(Transaction& transaction, std::int64_t member);
  /// Of one member or, without one, of everybody. Returns how many there were.
  std::int64_t expireAccessTokens(Transaction& transaction,
                                  std::optional<std::int64_t> member) const;

  [[nodiscard]] Time now() const { return timeOf(*clock_); }

 private:
  Tokens issue(Transaction& transaction, std::int64_t session) const;

  std::shared_ptr<const Clock> clock_;
  Lifetimes lifetimes_;
};

}  // namespace zavelo::sandbox

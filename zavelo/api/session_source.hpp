#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/models/user.hpp"

namespace zavelo {

/// Identifies a session: who is signed in, since when. Unique in the process; 0 while no user is
/// signed in.
using ZVSessionId = std::uint64_t;

/// A session at one moment.
struct ZVSession {
  ZVSessionId id = 0;
  std::optional<std::string> accessToken = {};
  std::optional<std::string> refreshToken = {};
};

/// What the API service asks of the owner of the session. Any thread.
///
/// A call belongs to the session in which it was made. So the API service notes the session's id
/// when it builds a request, and hands it back with whatever the reply means for the session. A
/// source that overrides only the first four operations has one session for ever: its id is 0.
class ZVSessionSource {
 public:
  virtual ~ZVSessionSource() = default;
  /// Of the current user; absent when no user is signed in.
  [[nodiscard]] virtual std::optional<std::string> accessToken() const = 0;
  [[nodiscard]] virtual std::optional<std::string> refreshToken() const = 0;
  /// Takes over the tokens that a renewal brought.
  virtual void refreshTokenWith(const ZVRefreshToken& token) = 0;
  /// The backend rejects the session: no user is signed in any more.
  virtual void endSession() = 0;

  /// The current session, its id and tokens read in one step.
  [[nodiscard]] virtual ZVSession session() const { return {0, accessToken(), refreshToken()}; }
  /// Takes the tokens over if the session with this id is still the current one. False: it is not,
  /// and nothing has changed.
  virtual bool refreshTokenIf(ZVSessionId, const ZVRefreshToken& token) {
    refreshTokenWith(token);
    return true;
  }
  /// Ends the session if the one with this id is still the current one. False: it is not, and
  /// nothing has changed.
  virtual bool endSessionIf(ZVSessionId) {
    endSession();
    return true;
  }
};

}  // namespace zavelo

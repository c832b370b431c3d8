#pragma once

#include <optional>
#include <string>

#include "zavelo/models/user.hpp"

namespace zavelo {

/// What the API service asks of whoever owns the session. Any thread.
class ZVSessionSource {
 public:
  virtual ~ZVSessionSource() = default;
  /// Of the current user; absent when nobody is signed in.
  [[nodiscard]] virtual std::optional<std::string> accessToken() const = 0;
  [[nodiscard]] virtual std::optional<std::string> refreshToken() const = 0;
  /// Takes over the tokens that a renewal brought.
  virtual void refreshTokenWith(const ZVRefreshToken& token) = 0;
  /// The backend rejects the session: nobody is signed in any more.
  virtual void endSession() = 0;
};

}  // namespace zavelo

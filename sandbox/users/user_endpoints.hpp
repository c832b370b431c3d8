#pragma once

#include <string>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/api/throttle.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/users/sessions.hpp"

namespace zavelo::sandbox {

/// What the endpoints about users work with. Outlives them.
struct UserContext {
  Database& database;
  const Sessions& sessions;
  Throttle& throttle;  ///< for hashing
  std::string site;    ///< "http://127.0.0.1:8080"
};

/// Registration, the three sign-ins, token renewal and signing out.
[[nodiscard]] std::vector<Endpoint> signInEndpoints(UserContext& context);

/// Search, profile and the promo code.
[[nodiscard]] std::vector<Endpoint> profileEndpoints(UserContext& context);

}  // namespace zavelo::sandbox

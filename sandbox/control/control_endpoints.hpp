#pragma once

#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/api/throttle.hpp"
#include "sandbox/control/faults.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/users/sessions.hpp"

namespace zavelo::sandbox {

class Channels;
struct GiftContext;

/// What the endpoints that steer the sandbox itself work with. Outlives them.
struct ControlContext {
  Database& database;
  const Sessions& sessions;
  Throttle& throttle;  ///< for hashing
  FaultInjector& faults;
  GiftContext& gifts;
  Channels& channels;
};

/// Health, faults on demand, and actions that an administrator or another device would cause.
[[nodiscard]] std::vector<Endpoint> controlEndpoints(ControlContext& context);

}  // namespace zavelo::sandbox

#pragma once

#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/seed/seed.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// What the endpoints that tell the state as a seed work with. Outlives them.
struct SeedContext {
  Database& database;
  const RunSettings& settings;
};

[[nodiscard]] std::vector<Endpoint> seedEndpoints(SeedContext& context);

}  // namespace zavelo::sandbox

#pragma once

#include <string>

#include "sandbox/seed/seed.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// Adds the seed's members, streams and products that the state does not have yet, all of them or
/// none: members by their zaveloId, streams by their slug, products by seller and name. The error
/// says where in the seed: `streams[0]: "owner": there is no such member`.
[[nodiscard]] Status<std::string> loadSeed(const Seed& seed, Database& database, Time now);

}  // namespace zavelo::sandbox

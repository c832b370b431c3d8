#pragma once

#include <map>
#include <string>

#include "sandbox/seed/seed.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// By the entry whose password it is.
using SeedHashes = std::map<const Arguments*, std::string>;

/// Hashes of the passwords that the seed needs. A hash takes its time on purpose, so they are made
/// side by side.
[[nodiscard]] SeedHashes hashesFor(const Seed& seed, Database& database);

}  // namespace zavelo::sandbox

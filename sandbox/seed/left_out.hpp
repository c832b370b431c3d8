#pragma once

#include <string>

#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// What the state has that no seed carries, with counts: "3 guests, 1 poll"; empty when there is
/// nothing.
[[nodiscard]] std::string leftOutOf(Transaction& transaction);

}  // namespace zavelo::sandbox

#pragma once

#include <string>

#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// What the state has that a seed does not carry, with or without pictures, and counts: "3 guests,
/// 1 poll"; empty when there is nothing.
[[nodiscard]] std::string leftOutOf(Transaction& transaction, bool withPictures);

}  // namespace zavelo::sandbox

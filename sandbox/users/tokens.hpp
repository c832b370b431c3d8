#pragma once

#include <string>
#include <string_view>

#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// 256 random bits, fit for a header and an address.
[[nodiscard]] std::string makeToken();

/// What is kept of a token.
[[nodiscard]] Blob tokenHash(std::string_view token);

}  // namespace zavelo::sandbox

#pragma once

#include "sandbox/api/parameters.hpp"

namespace zavelo::sandbox {

// Every list is read page by page: `nextId` 0 asks for the first one, and a reply's `nextId` for
// the one after it.

/// Up to the largest integer that JSON carries everywhere (RFC 8259 section 6).
inline constexpr auto nextIdParameter = required(integer("nextId", 0, 9007199254740991.0));
inline constexpr auto limitParameter = required(integer("limit", 1, 100));

}  // namespace zavelo::sandbox

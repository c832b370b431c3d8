#pragma once

#include <cstdint>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// Milliseconds of the media clock, which starts at every boot of the device: good for measuring,
/// not to be compared with a server's times.
[[nodiscard]] ZAVELO_EXPORT std::int64_t millisecondTimestamp();

}  // namespace zavelo

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "zavelo/platform/clock.hpp"

namespace zavelo::sandbox {

using Time = std::chrono::sys_time<std::chrono::milliseconds>;

[[nodiscard]] inline Time timeOf(const Clock& clock) {
  return std::chrono::time_point_cast<std::chrono::milliseconds>(clock.now());
}

/// As it is kept in the database.
[[nodiscard]] inline std::int64_t stored(Time time) {
  return time.time_since_epoch().count();
}
[[nodiscard]] inline Time fromStored(std::int64_t value) {
  return Time(std::chrono::milliseconds(value));
}

/// ISO 8601, "2024-05-31T12:00:00.250Z".
[[nodiscard]] std::string isoText(Time time);

}  // namespace zavelo::sandbox

#pragma once

#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/core/environment.hpp"

namespace zavelo::configuration {

// What the entry class was initialised with. A leaf of its own, so that the log and the endpoint
// catalogue can read it without knowing the entry class. Any thread.

[[nodiscard]] ZAVELO_EXPORT bool enableLog() noexcept;
[[nodiscard]] ZAVELO_EXPORT ZVEnvironment environment();
[[nodiscard]] ZAVELO_EXPORT std::string agoraAppId();

/// Sets the logging switch.
void setEnableLog(bool enableLog) noexcept;
/// Stores the rest, the first time; false and no change afterwards.
bool initialise(ZVEnvironment environment, std::string agoraAppId);

}  // namespace zavelo::configuration

namespace zavelo::detail {
struct ConfigurationState;
/// See `exchangeProcessState`.
ConfigurationState* exchangeConfiguration(ConfigurationState* next);
void destroy(ConfigurationState* state);
}  // namespace zavelo::detail

#pragma once

/// ZaveloCore: the core library of a live-streaming SDK.
///
///     ZaveloSDK::shared().initWith(ZVEnvironment::custom({"https://api.example"}), true);
///     auto queue = std::make_shared<MainQueue>();           // completions arrive here
///     ...
///
#include "zavelo/core/sdk.hpp"

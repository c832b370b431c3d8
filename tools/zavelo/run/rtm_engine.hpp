#pragma once

#include <string>

#include "zavelo/base/result.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::command {

/// The engine that reaches what the address names; or one sentence that says what is wrong with it.
[[nodiscard]] Result<AgoraRtmKitFactory, std::string> rtmEngine(const std::string& address);

}  // namespace zavelo::command

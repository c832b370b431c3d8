#pragma once

#include "zavelo/base/export.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo {

/// Chooses the engine of the shared messaging service, before its first operation: false, and no
/// change, later.
ZAVELO_EXPORT bool installMessagingEngine(AgoraRtmKitFactory factory);

/// The installed engine, which it is from now on. Without one messages stay inside the process, and
/// a warning in the log says so.
[[nodiscard]] ZAVELO_EXPORT AgoraRtmKitFactory messagingEngine();

namespace detail {
struct EngineState;
/// See `exchangeProcessState`.
EngineState* exchangeEngine(EngineState* next);
void destroy(EngineState* state);
}  // namespace detail

}  // namespace zavelo

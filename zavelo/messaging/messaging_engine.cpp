#include "zavelo/messaging/messaging_engine.hpp"

#include <mutex>
#include <utility>

#include "zavelo/base/process_wide.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/messaging/engines/in_process.hpp"

namespace zavelo {

struct detail::EngineState {
  std::mutex mutex;
  bool isSettled = false;
  AgoraRtmKitFactory makeKit;
};

namespace {
constinit ProcessWide<detail::EngineState> choice;
}  // namespace

detail::EngineState* detail::exchangeEngine(EngineState* next) {
  return choice.exchange(next);
}

void detail::destroy(EngineState* state) {
  delete state;
}

bool installMessagingEngine(AgoraRtmKitFactory factory) {
  detail::EngineState& current = *choice;
  const std::lock_guard lock(current.mutex);
  if (current.isSettled) return false;
  current.isSettled = true;
  current.makeKit = std::move(factory);
  return true;
}

AgoraRtmKitFactory messagingEngine() {
  detail::EngineState& current = *choice;
  {
    const std::lock_guard lock(current.mutex);
    current.isSettled = true;
    if (current.makeKit) return current.makeKit;
    current.makeKit = InProcessHub::shared()->kitFactory();
  }
  ZVLog::w("No messaging engine was installed: nobody outside this process hears its messages",
           ZVLogPosition("ZVRTMService"));
  return InProcessHub::shared()->kitFactory();
}

}  // namespace zavelo

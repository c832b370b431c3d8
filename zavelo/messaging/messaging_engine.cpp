#include "zavelo/messaging/messaging_engine.hpp"

#include <mutex>
#include <utility>

#include "zavelo/core/log.hpp"
#include "zavelo/messaging/engines/in_process.hpp"

namespace zavelo {
namespace {

struct Choice {
  std::mutex mutex;
  bool isSettled = false;
  AgoraRtmKitFactory makeKit;
};

Choice& choice() {
  static auto& instance = *new Choice;
  return instance;
}

}  // namespace

bool installMessagingEngine(AgoraRtmKitFactory factory) {
  Choice& current = choice();
  const std::lock_guard lock(current.mutex);
  if (current.isSettled) return false;
  current.isSettled = true;
  current.makeKit = std::move(factory);
  return true;
}

AgoraRtmKitFactory messagingEngine() {
  Choice& current = choice();
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

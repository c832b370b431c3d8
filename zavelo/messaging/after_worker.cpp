#include "zavelo/messaging/after_worker.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace zavelo {
namespace {

// Longer is for ever, and not a number is at once.
std::chrono::milliseconds waitOf(double seconds) {
  constexpr double longest = 1e9;
  if (!(seconds > 0)) return std::chrono::milliseconds(0);
  return std::chrono::ceil<std::chrono::milliseconds>(
      std::chrono::duration<double>(std::min(seconds, longest)));
}

}  // namespace

void ZVAfterWorker::after(double delay, Queue& queue, std::function<void()> action) {
  cancel();
  replace(queue.postAfter(waitOf(delay), std::move(action)));
}

void ZVAfterWorker::cancel() {
  replace(nullptr);
}

// Cancelled without the lock: an action that goes may take along what uses this worker.
void ZVAfterWorker::replace(std::shared_ptr<DelayedTask> item) {
  {
    const std::lock_guard lock(mutex_);
    pendingRequestWorkItem_.swap(item);
  }
  if (item) item->cancel();
}

}  // namespace zavelo

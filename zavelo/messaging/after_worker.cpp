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
  const std::lock_guard lock(mutex_);
  if (pendingRequestWorkItem_) pendingRequestWorkItem_->cancel();
  pendingRequestWorkItem_ = queue.postAfter(waitOf(delay), std::move(action));
}

void ZVAfterWorker::cancel() {
  const std::lock_guard lock(mutex_);
  if (pendingRequestWorkItem_) pendingRequestWorkItem_->cancel();
  pendingRequestWorkItem_ = nullptr;
}

}  // namespace zavelo

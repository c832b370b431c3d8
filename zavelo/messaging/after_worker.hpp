#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "zavelo/base/export.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// Keeps at most one action waiting for its moment. Any thread.
class ZAVELO_EXPORT ZVAfterWorker {
 public:
  /// Runs the action on the queue after the delay (seconds), in place of the one that waits.
  void after(double delay, Queue& queue, std::function<void()> action);
  /// Nothing waits any more.
  void cancel();

 private:
  void replace(std::shared_ptr<DelayedTask> item);

  std::mutex mutex_;
  std::shared_ptr<DelayedTask> pendingRequestWorkItem_;
};

}  // namespace zavelo

#pragma once

#include <memory>

#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// A queue with one thread of its own, for work that must not hold up the main queue. The thread is
/// started by the first post, in a forked process again. While none is to be had, a closure that is
/// posted is destroyed at once without having run. Destroying the queue finishes the closure that
/// is running and destroys the others. An exception thrown by a closure is dropped.
class ZAVELO_EXPORT BackgroundQueue final : public Queue {
 public:
  BackgroundQueue();
  ~BackgroundQueue() override;
  BackgroundQueue(const BackgroundQueue&) = delete;
  BackgroundQueue& operator=(const BackgroundQueue&) = delete;

  void post(QueueTask task) override;
  std::shared_ptr<DelayedTask> postAfter(std::chrono::milliseconds delay, QueueTask task) override;

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace zavelo

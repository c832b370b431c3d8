#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// The default main queue: REST completions and their notifications run here. It has no thread of
/// its own; the app drives it in ONE of three ways:
///   - `run()` on a thread of its choice, until `stop()`;
///   - `poll()` from a tick that it has anyway;
///   - `setExecutor(f)`: each closure is handed to f, which passes it to the app's own loop.
/// An exception thrown by a closure leaves through whoever drives the queue; the next call goes on.
class ZAVELO_EXPORT MainQueue final : public Queue {
 public:
  using Executor = std::function<void(QueueTask)>;

  /// The queue of an app that brings none of its own: ZVPlatform's default.
  [[nodiscard]] static const std::shared_ptr<MainQueue>& shared();

  MainQueue();
  /// Closures that have not run are destroyed.
  ~MainQueue() override;
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;

  void post(QueueTask task) override;
  std::shared_ptr<DelayedTask> postAfter(std::chrono::milliseconds delay, QueueTask task) override;

  /// Runs closures on the calling thread, waiting for more, until `stop()`.
  void run();
  /// Ends `run()` after the closure that is running; what is still queued stays queued. A stop
  /// before `run()` makes that run return at once; `poll()` does not heed it. Any thread.
  void stop();
  /// Runs what is due and returns how many closures ran. What those post waits for the next poll.
  std::size_t poll();
  /// From now on hands each closure, those already queued first, to `executor`, which is called on
  /// whatever thread posts (or on a timer thread of the queue) and must keep the order. An empty
  /// one gives the queue back to `run()` and `poll()`.
  void setExecutor(Executor executor);

 private:
  class Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace zavelo

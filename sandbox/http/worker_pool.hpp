#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace zavelo::sandbox {

/// Runs tasks that may block, on a bounded number of threads: a thread is started when all others
/// are busy, and ends when it has been idle for a while. Any thread.
class WorkerPool {
 public:
  explicit WorkerPool(std::size_t mostThreads) : mostThreads_(mostThreads) {}
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool() { stop(); }

  /// The task must not throw. False when it will never run: the pool was stopped, or the first
  /// thread cannot be started.
  [[nodiscard]] bool run(std::function<void()> task);
  /// Runs the tasks that are queued and waits for all threads.
  void stop();

 private:
  using Threads = std::list<std::thread>;

  [[nodiscard]] bool startThread();
  void work(Threads::iterator self);

  const std::size_t mostThreads_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;
  Threads running_;
  Threads ended_;  ///< to be joined
  std::size_t idle_ = 0;
  bool isStopped_ = false;
};

}  // namespace zavelo::sandbox

#include "sandbox/http/worker_pool.hpp"

#include <chrono>
#include <system_error>
#include <utility>

namespace zavelo::sandbox {
namespace {

constexpr std::chrono::seconds idlePatience{2};

}  // namespace

bool WorkerPool::run(std::function<void()> task) {
  Threads ended;
  {
    const std::scoped_lock lock(mutex_);
    if (isStopped_) return false;
    ended.swap(ended_);
    const bool isThreadWanted = tasks_.size() >= idle_ && running_.size() < mostThreads_;
    // Without a thread for it, the task waits for one of the others.
    if (isThreadWanted && !startThread() && running_.empty()) return false;
    tasks_.push_back(std::move(task));
  }
  changed_.notify_one();
  for (auto& thread : ended) thread.join();
  return true;
}

void WorkerPool::stop() {
  {
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
  }
  changed_.notify_all();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return running_.empty(); });
  for (auto& thread : ended_) thread.join();
  ended_.clear();
}

/// The thread's first step waits for the lock that the caller holds.
bool WorkerPool::startThread() {
  const auto self = running_.emplace(running_.end());
  try {
    *self = std::thread([this, self] { work(self); });
    return true;
  } catch (const std::system_error&) {
    running_.erase(self);
    return false;
  }
}

void WorkerPool::work(Threads::iterator self) {
  std::unique_lock lock(mutex_);
  while (true) {
    ++idle_;
    changed_.wait_for(lock, idlePatience, [this] { return isStopped_ || !tasks_.empty(); });
    --idle_;
    if (tasks_.empty()) break;
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
  }
  ended_.splice(ended_.end(), running_, self);
  // With the lock: the pool may be destroyed as soon as it is released.
  changed_.notify_all();
}

}  // namespace zavelo::sandbox

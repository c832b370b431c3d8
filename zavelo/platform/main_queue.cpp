#include "zavelo/platform/main_queue.hpp"

#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "zavelo/platform/task_list.hpp"

namespace zavelo {

using detail::TaskList;

namespace {

TaskList::Time now() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace

/// Lives on, empty, when a closure destroys the queue that runs it.
class MainQueue::Impl : public std::enable_shared_from_this<Impl> {
 public:
  void post(QueueTask task) {
    std::unique_lock lock(mutex_);
    noticeFork();
    if (ended_) return;
    if (executor_) {
      startTimerIfNeeded();  // there may have been no thread for it
      const auto executor = executor_;
      lock.unlock();
      (*executor)(std::move(task));
      return;
    }
    list_.push(std::move(task));
    wake_->notify_all();
  }

  std::shared_ptr<DelayedTask> postAfter(std::chrono::milliseconds delay, QueueTask task) {
    auto handle = std::make_shared<Delayed>(weak_from_this(), std::move(task));
    const std::lock_guard lock(mutex_);
    noticeFork();
    if (ended_) return handle;
    const auto moment = TaskList::after(now(), delay);
    handle->listedAs(list_.pushAt(moment, [handle] { handle->run(); }));
    startTimerIfNeeded();
    wake_->notify_all();
    return handle;
  }

  QueueTask forget(const TaskList::Key& key) {
    const std::lock_guard lock(mutex_);
    return list_.remove(key);
  }

  void run() {
    std::unique_lock lock(mutex_);
    noticeFork();
    while (!ended_ && !stopRequested_) {
      list_.collect(now());
      if (QueueTask task = executor_ ? QueueTask() : list_.take()) {
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
      } else {
        wait(lock);
      }
    }
    stopRequested_ = false;
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    noticeFork();
    stopRequested_ = true;
    wake_->notify_all();
  }

  std::size_t poll() {
    std::unique_lock lock(mutex_);
    if (executor_) return 0;
    list_.collect(now());
    // What the closures post waits for the next poll: a closure that posts itself again must not
    // hold up the tick.
    const std::size_t due = list_.dueCount();
    for (std::size_t ran = 0; ran < due; ++ran) {
      QueueTask task = list_.take();
      if (!task) return ran;
      lock.unlock();
      task();
      task = nullptr;
      lock.lock();
    }
    return due;
  }

  void setExecutor(std::shared_ptr<const Executor> executor) {
    std::unique_lock lock(mutex_);
    noticeFork();
    // Posts go on being queued until the last one from before is handed over: the order holds.
    while (!ended_) {
      list_.collect(now());
      QueueTask task = executor ? list_.take() : QueueTask();
      if (!task) break;
      lock.unlock();
      (*executor)(std::move(task));
      lock.lock();
    }
    executor_.swap(executor);  // the old one is destroyed after the lock is released
    startTimerIfNeeded();
    wake_->notify_all();
    lock.unlock();
  }

  void end() {
    TaskList rest;
    std::shared_ptr<const Executor> executor;
    std::thread timer;
    {
      const std::lock_guard lock(mutex_);
      noticeFork();
      ended_ = true;
      std::swap(rest, list_);
      executor.swap(executor_);
      timer.swap(timer_);
      wake_->notify_all();
    }
    if (!timer.joinable()) return;
    if (timer.get_id() == std::this_thread::get_id()) {
      timer.detach();
    } else {
      timer.join();
    }
  }

 private:
  using Delayed = detail::DelayedTaskOf<Impl>;

  void wait(std::unique_lock<std::mutex>& lock) {
    if (const auto moment = list_.nextMoment()) {
      wake_->wait_until(lock, std::chrono::steady_clock::time_point(*moment));
    } else {
      wake_->wait(lock);
    }
  }

  /// When an executor runs the queue, only a thread can wait for delayed closures. While none is to
  /// be had they wait for the next post.
  void startTimerIfNeeded() {
    if (ended_ || !executor_ || !list_.nextMoment()) return;
    if (timer_.joinable()) return;
    try {
      timer_ = std::thread([self = shared_from_this()] { self->handOverDelayed(); });
    } catch (const std::system_error&) {
    }
  }

  /// A fork takes no thread along, so its handle and what it waited for are good for nothing, not
  /// even to be destroyed.
  void noticeFork() {
    if (std::exchange(process_, getpid()) == getpid()) return;
    static_cast<void>(new std::thread(std::move(timer_)));
    static_cast<void>(wake_.release());
    wake_ = std::make_unique<std::condition_variable>();
  }

  void handOverDelayed() {
    std::unique_lock lock(mutex_);
    while (!ended_) {
      const auto executor = executor_;
      list_.collect(now());
      if (QueueTask task = executor ? list_.take() : QueueTask()) {
        lock.unlock();
        try {
          (*executor)(std::move(task));
        } catch (...) {  // an app's mistake, and no caller to catch it
        }
        lock.lock();
      } else {
        wait(lock);
      }
    }
  }

  std::mutex mutex_;
  std::unique_ptr<std::condition_variable> wake_ = std::make_unique<std::condition_variable>();
  TaskList list_;
  bool stopRequested_ = false;
  bool ended_ = false;
  std::shared_ptr<const Executor> executor_;
  std::thread timer_;
  pid_t process_ = getpid();
};

// Never destroyed: closures may be posted while the process exits.
const std::shared_ptr<MainQueue>& MainQueue::shared() {
  static auto& instance = *new std::shared_ptr<MainQueue>(std::make_shared<MainQueue>());
  return instance;
}

MainQueue::MainQueue() : impl_(std::make_shared<Impl>()) {}

MainQueue::~MainQueue() {
  impl_->end();
}

void MainQueue::post(QueueTask task) {
  const auto impl = impl_;  // the closure may be run, and destroy the queue, before post returns
  impl->post(std::move(task));
}

std::shared_ptr<DelayedTask> MainQueue::postAfter(std::chrono::milliseconds delay, QueueTask task) {
  return impl_->postAfter(delay, std::move(task));
}

void MainQueue::run() {
  const auto impl = impl_;
  impl->run();
}

void MainQueue::stop() {
  impl_->stop();
}

std::size_t MainQueue::poll() {
  const auto impl = impl_;
  return impl->poll();
}

void MainQueue::setExecutor(Executor executor) {
  const auto impl = impl_;
  impl->setExecutor(executor ? std::make_shared<const Executor>(std::move(executor)) : nullptr);
}

}  // namespace zavelo

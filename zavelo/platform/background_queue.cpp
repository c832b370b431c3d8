#include "zavelo/platform/background_queue.hpp"

#include <unistd.h>

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "zavelo/platform/main_queue.hpp"

namespace zavelo {

namespace {

/// A main queue that a thread of its own drives.
struct Worker {
  MainQueue queue;
  std::thread thread;

  void run() {
    for (;;) {
      try {
        return queue.run();
      } catch (...) {  // a closure's mistake, and no caller to catch it
      }
    }
  }
};

/// No worker when no thread is to be had.
std::shared_ptr<Worker> startedWorker() {
  auto worker = std::make_shared<Worker>();
  try {
    worker->thread = std::thread([worker] { worker->run(); });
  } catch (const std::system_error&) {
    return nullptr;
  }
  return worker;
}

/// A closure that was posted but cannot be run.
class LostTask final : public DelayedTask {
  void cancel() override {}
};

}  // namespace

class BackgroundQueue::Impl {
 public:
  std::shared_ptr<Worker> worker() {
    const std::lock_guard lock(mutex_);
    forgetParents();
    if (!worker_) worker_ = startedWorker();
    return worker_;
  }

  void end() {
    std::shared_ptr<Worker> worker;
    {
      const std::lock_guard lock(mutex_);
      forgetParents();
      worker.swap(worker_);
    }
    if (!worker) return;
    worker->queue.stop();
    // A closure that destroys its own queue cannot wait for itself.
    if (worker->thread.get_id() == std::this_thread::get_id()) {
      worker->thread.detach();
    } else {
      worker->thread.join();
    }
  }

 private:
  /// A fork takes no thread along. What the parent's worker holds is kept: its state is unknown.
  void forgetParents() {
    if (std::exchange(process_, getpid()) == getpid() || !worker_) return;
    static_cast<void>(new std::shared_ptr<Worker>(std::move(worker_)));
    worker_ = nullptr;
  }

  std::mutex mutex_;
  std::shared_ptr<Worker> worker_;
  pid_t process_ = getpid();
};

BackgroundQueue::BackgroundQueue() : impl_(std::make_shared<Impl>()) {}

BackgroundQueue::~BackgroundQueue() {
  impl_->end();
}

void BackgroundQueue::post(QueueTask task) {
  if (const auto worker = impl_->worker()) worker->queue.post(std::move(task));
}

std::shared_ptr<DelayedTask> BackgroundQueue::postAfter(std::chrono::milliseconds delay,
                                                        QueueTask task) {
  if (const auto worker = impl_->worker()) return worker->queue.postAfter(delay, std::move(task));
  return std::make_shared<LostTask>();
}

}  // namespace zavelo

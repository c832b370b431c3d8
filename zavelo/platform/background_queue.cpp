#include "zavelo/platform/background_queue.hpp"

#include <thread>
#include <utility>

#include "zavelo/platform/main_queue.hpp"

namespace zavelo {

/// A main queue that a thread of its own drives.
class BackgroundQueue::Impl {
 public:
  MainQueue queue;
  std::thread thread;

  void run() {
    for (;;) {
      try {
        return queue.run();
      } catch (...) {  // a closure's mistake, and no caller to hear of it
      }
    }
  }
};

BackgroundQueue::BackgroundQueue() : impl_(std::make_shared<Impl>()) {
  impl_->thread = std::thread([impl = impl_] { impl->run(); });
}

BackgroundQueue::~BackgroundQueue() {
  impl_->queue.stop();
  // A closure that destroys its own queue cannot wait for itself.
  if (impl_->thread.get_id() == std::this_thread::get_id()) {
    impl_->thread.detach();
  } else {
    impl_->thread.join();
  }
}

void BackgroundQueue::post(QueueTask task) {
  impl_->queue.post(std::move(task));
}

std::shared_ptr<DelayedTask> BackgroundQueue::postAfter(std::chrono::milliseconds delay,
                                                        QueueTask task) {
  return impl_->queue.postAfter(delay, std::move(task));
}

}  // namespace zavelo

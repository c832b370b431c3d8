#include "sandbox/channels/round.hpp"

#include <exception>
#include <utility>

namespace zavelo::sandbox {

Round::Round(std::chrono::milliseconds period, std::function<void()> work)
    : thread_([this, period, work = std::move(work)] { run(period, work); }) {}

Round::~Round() {
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
  }
  stopping_.notify_all();
  thread_.join();
}

void Round::run(std::chrono::milliseconds period, const std::function<void()>& work) {
  std::unique_lock lock(mutex_);
  while (!stopping_.wait_for(lock, period, [this] { return stopped_; })) {
    lock.unlock();
    try {
      work();
    } catch (const std::exception&) {
      // The state failed: every call is told so, and the next round may do better.
    }
    lock.lock();
  }
}

}  // namespace zavelo::sandbox

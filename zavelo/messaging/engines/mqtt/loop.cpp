#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <system_error>
#include <thread>

#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"
#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"

namespace zavelo::detail {
namespace {

/// A write to a connection that the other side closed is an error code, not the end of the app.
void keepSignalsAway() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

struct MqttLoop::End {
  std::mutex mutex;
  std::condition_variable reached;
  bool isReached = false;
  std::thread::id thread;
};

std::shared_ptr<MqttLoop> MqttLoop::start() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return nullptr;
  std::shared_ptr<MqttLoop> loop(new MqttLoop);
  loop->wakeReader_ = ends[0], loop->wakeWriter_ = ends[1];
  for (const int end : ends) {
    fcntl(end, F_SETFD, FD_CLOEXEC);
    fcntl(end, F_SETFL, O_NONBLOCK);
  }
  loop->end_ = std::make_shared<End>();
  try {
    // Nobody joins it: who drops a kit inside a callback is on this thread.
    std::thread thread([loop] { loop->run(); });
    loop->end_->thread = thread.get_id();
    thread.detach();
  } catch (const std::system_error&) {
    return nullptr;
  }
  return loop;
}

MqttLoop::~MqttLoop() {
  close(wakeReader_);
  close(wakeWriter_);
}

void MqttLoop::post(Task task) {
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
  if (tasks_.size() > 1) return;  // it is awake, or about to be
  const char wake = 0;
  static_cast<void>(!write(wakeWriter_, &wake, 1));
}

MqttLoop::Timer MqttLoop::after(std::chrono::milliseconds delay, Task task) {
  const Timer timer{Clock::now() + delay, ++lastTimer_};
  timers_.emplace(timer, std::move(task));
  return timer;
}

void MqttLoop::serve(std::shared_ptr<MqttConnection> connection) {
  connections_.push_back(std::move(connection));
}

void MqttLoop::finish() {
  finishing_ = true;
  timers_.clear();
}

bool MqttLoop::waitForEnd(std::chrono::milliseconds time) {
  std::unique_lock lock(end_->mutex);
  return end_->reached.wait_for(lock, time, [&] { return end_->isReached; });
}

bool MqttLoop::isOwnThread() const noexcept {
  return end_->thread == std::this_thread::get_id();
}

void MqttLoop::run() {
  keepSignalsAway();
  while (!finishing_ || !connections_.empty()) {
    try {
      runTasks();
      runTimers();
      waitAndServe();
    } catch (...) {  // a callback's mistake, and no caller to hear of it
    }
  }
  runTasks();  // what nobody will ask for any more is let go of here
  const std::lock_guard lock(end_->mutex);
  end_->isReached = true;
  end_->reached.notify_all();
}

void MqttLoop::runTasks() {
  std::vector<Task> tasks;
  {
    const std::lock_guard lock(mutex_);
    tasks.swap(tasks_);
  }
  for (auto& task : tasks) {
    task();
    task = nullptr;
  }
}

void MqttLoop::runTimers() {
  while (!timers_.empty() && timers_.begin()->first.first <= Clock::now()) {
    auto task = std::move(timers_.begin()->second);
    timers_.erase(timers_.begin());
    task();
  }
}

void MqttLoop::waitAndServe() {
  std::erase_if(connections_, [](const auto& each) { return each->isClosed(); });
  // Serving may add some.
  const auto serving = connections_;
  std::vector<pollfd> files{{wakeReader_, POLLIN, 0}};
  auto until = Clock::now() + std::chrono::hours(1);
  if (!timers_.empty()) until = std::min(until, timers_.begin()->first.first);
  for (const auto& each : serving) {
    files.push_back({each->file(), each->awaited(), 0});
    until = std::min(until, each->nextTick());
  }
  if (finishing_ && serving.empty()) return;
  const auto time = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
  poll(files.data(), files.size(), static_cast<int>(std::max<std::int64_t>(0, time.count())));

  if (files[0].revents != 0) {
    std::array<char, 64> wakes;
    while (read(wakeReader_, wakes.data(), wakes.size()) > 0) {
    }
  }
  for (std::size_t i = 0; i < serving.size(); ++i) serving[i]->serve(files[i + 1].revents);
}

}  // namespace zavelo::detail

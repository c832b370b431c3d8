#include "zavelo/testing/manual_queue.hpp"

#include <mutex>
#include <utility>

#include "zavelo/platform/task_list.hpp"

namespace zavelo::testing {

using detail::TaskList;

struct ManualQueue::State {
  mutable std::mutex mutex;
  TaskList list;
  TaskList::Time now{0};

  QueueTask forget(const TaskList::Key& key) {
    const std::lock_guard lock(mutex);
    return list.remove(key);
  }

  QueueTask takeDue() {
    const std::lock_guard lock(mutex);
    list.collect(now);
    return list.take();
  }

  /// Moves time on to the next delayed closure, but not past `end`; false when there is none.
  bool moveToNext(TaskList::Time end) {
    const std::lock_guard lock(mutex);
    const auto next = list.nextMoment();
    const bool found = next && *next <= end;
    now = found ? *next : end;
    return found;
  }
};

ManualQueue::ManualQueue() : state_(std::make_shared<State>()) {}

ManualQueue::~ManualQueue() {
  TaskList rest;  // destroyed without the lock: a closure may own what posts or cancels
  const std::lock_guard lock(state_->mutex);
  std::swap(rest, state_->list);
}

void ManualQueue::post(QueueTask task) {
  const std::lock_guard lock(state_->mutex);
  state_->list.push(std::move(task));
}

std::shared_ptr<DelayedTask> ManualQueue::postAfter(std::chrono::milliseconds delay,
                                                    QueueTask task) {
  auto handle = std::make_shared<detail::DelayedTaskOf<State>>(state_, std::move(task));
  const std::lock_guard lock(state_->mutex);
  const auto moment = TaskList::after(state_->now, delay);
  handle->listedAs(state_->list.pushAt(moment, [handle] { handle->run(); }));
  return handle;
}

std::size_t ManualQueue::runDue() {
  const auto state = state_;  // a closure may destroy the queue
  std::size_t ran = 0;
  while (QueueTask task = state->takeDue()) {
    task();
    ++ran;
  }
  return ran;
}

std::size_t ManualQueue::advance(std::chrono::milliseconds by) {
  const auto state = state_;
  const auto end = TaskList::after(state->now, by);
  std::size_t ran = runDue();
  while (state->moveToNext(end)) ran += runDue();
  return ran;
}

std::size_t ManualQueue::pending() const {
  const std::lock_guard lock(state_->mutex);
  return state_->list.size();
}

}  // namespace zavelo::testing

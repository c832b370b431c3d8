#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "zavelo/platform/queue.hpp"

namespace zavelo::detail {

/// The closures of one queue: those that are due, in order, and those that wait for their moment.
/// It knows no clock and no lock; its owner supplies both.
class TaskList {
 public:
  using Time = std::chrono::nanoseconds;
  using Key = std::pair<Time, std::uint64_t>;

  /// The moment `delay` after `now`; a delay without end stays within the range of Time.
  static Time after(Time now, std::chrono::milliseconds delay) {
    constexpr std::chrono::milliseconds longest = std::chrono::hours(24 * 365 * 100);
    return now + std::clamp(delay, std::chrono::milliseconds::zero(), longest);
  }

  void push(QueueTask task) { due_.push_back(std::move(task)); }

  Key pushAt(Time moment, QueueTask task) {
    const Key key{moment, nextId_++};
    delayed_.emplace(key, std::move(task));
    return key;
  }

  /// Takes a delayed closure out again; empty when it is due already.
  QueueTask remove(const Key& key) {
    auto node = delayed_.extract(key);
    return node ? std::move(node.mapped()) : QueueTask();
  }

  /// Queues the delayed closures whose moment has come.
  void collect(Time now) {
    while (!delayed_.empty() && delayed_.begin()->first.first <= now) {
      due_.push_back(std::move(delayed_.begin()->second));
      delayed_.erase(delayed_.begin());
    }
  }

  /// The next closure that is due; empty when none is.
  QueueTask take() {
    if (due_.empty()) return {};
    QueueTask task = std::move(due_.front());
    due_.pop_front();
    return task;
  }

  [[nodiscard]] std::optional<Time> nextMoment() const {
    if (delayed_.empty()) return std::nullopt;
    return delayed_.begin()->first.first;
  }
  [[nodiscard]] std::size_t dueCount() const { return due_.size(); }
  [[nodiscard]] std::size_t size() const { return due_.size() + delayed_.size(); }

 private:
  std::deque<QueueTask> due_;
  std::map<Key, QueueTask> delayed_;
  std::uint64_t nextId_ = 0;
};

/// The handle of a delayed closure in the list of an Owner, which offers `QueueTask
/// forget(Key)`. The closure lives here, so that a cancel also stops one that is due already or
/// was handed to an app's own loop.
template <class Owner>
class DelayedTaskOf final : public DelayedTask {
 public:
  DelayedTaskOf(std::weak_ptr<Owner> owner, QueueTask task)
      : owner_(std::move(owner)), task_(std::move(task)) {}

  void listedAs(TaskList::Key key) { key_ = key; }
  void run() {
    if (auto task = take()) task();
  }
  void cancel() override {
    if (!take()) return;
    if (const auto owner = owner_.lock()) owner->forget(key_);
  }

 private:
  QueueTask take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(task_, nullptr);
  }

  const std::weak_ptr<Owner> owner_;
  TaskList::Key key_;
  std::mutex mutex_;
  QueueTask task_;
};

}  // namespace zavelo::detail

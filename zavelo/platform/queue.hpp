#pragma once

#include <chrono>
#include <memory>

#include "zavelo/base/export.hpp"
#include "zavelo/base/unique_function.hpp"

namespace zavelo {

using QueueTask = UniqueFunction<void()>;

/// A closure waiting for its moment. Destroying the handle leaves the closure alone.
class DelayedTask {
 public:
  virtual ~DelayedTask() = default;
  /// The closure will not run, unless it is running already. Any thread.
  virtual void cancel() = 0;
};

/// Runs closures one after the other, in the order in which they were posted.
class Queue {
 public:
  virtual ~Queue() = default;
  /// Any thread, also from inside a closure. Never runs the closure before it returns.
  virtual void post(QueueTask task) = 0;
  /// Posts the closure once `delay` has passed.
  virtual std::shared_ptr<DelayedTask> postAfter(std::chrono::milliseconds delay,
                                                 QueueTask task) = 0;
};

}  // namespace zavelo

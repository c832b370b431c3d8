#pragma once

#include <chrono>
#include <cstddef>
#include <memory>

#include "zavelo/platform/queue.hpp"

namespace zavelo::testing {

/// A queue that runs closures when the test says so, on the test's thread, in virtual time: nobody
/// waits for a delay.
class ZAVELO_EXPORT ManualQueue final : public Queue {
 public:
  ManualQueue();
  ~ManualQueue() override;

  void post(QueueTask task) override;
  std::shared_ptr<DelayedTask> postAfter(std::chrono::milliseconds delay, QueueTask task) override;

  /// Runs what is due now, and what that posts; returns how many closures ran.
  std::size_t runDue();
  /// Moves time on, running each delayed closure at its moment and what it posts.
  std::size_t advance(std::chrono::milliseconds by);
  /// Closures that are due or waiting for their moment.
  [[nodiscard]] std::size_t pending() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace zavelo::testing

#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "zavelo/platform/queue.hpp"

namespace zavelo::command {

/// Reads the standard input on a thread of its own, one piece each time it is asked to.
class InputReader {
 public:
  /// `read` runs on the queue; an empty piece is the end.
  InputReader(std::shared_ptr<Queue> queue, std::function<void(std::string)> read);
  ~InputReader();
  InputReader(const InputReader&) = delete;
  InputReader& operator=(const InputReader&) = delete;

  /// Asks for one more piece, unless it is asked for already.
  void more();

 private:
  void work();
  [[nodiscard]] bool waitUntilAsked();
  [[nodiscard]] bool waitForInput() const;

  const std::shared_ptr<Queue> queue_;
  const std::function<void(std::string)> read_;
  const int stopping_;  // an eventfd that ends the wait for input
  std::mutex mutex_;    // guards what follows
  std::condition_variable changed_;
  bool isAsked_ = false;
  bool isStopped_ = false;
  std::thread thread_;
};

}  // namespace zavelo::command

#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace zavelo::sandbox {

/// Does the same work again and again on a thread of its own, until it is destroyed.
class Round {
 public:
  Round(std::chrono::milliseconds period, std::function<void()> work);
  ~Round();

 private:
  void run(std::chrono::milliseconds period, const std::function<void()>& work);

  std::mutex mutex_;
  std::condition_variable stopping_;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace zavelo::sandbox

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zavelo::detail {

class MqttConnection;

/// The one thread of a kit: waits for its connections, its timers and what others ask of it.
class MqttLoop : public std::enable_shared_from_this<MqttLoop> {
 public:
  using Clock = std::chrono::steady_clock;
  using Task = std::function<void()>;
  using Timer = std::pair<Clock::time_point, std::uint64_t>;

  /// Runs until it was told to finish, and its connections are gone. None when the system has no
  /// more files or threads.
  static std::shared_ptr<MqttLoop> start();
  ~MqttLoop();

  void post(Task task);  // from any thread; the rest is for its own
  Timer after(std::chrono::milliseconds delay, Task task);
  void cancel(const Timer& timer) { timers_.erase(timer); }
  void serve(std::shared_ptr<MqttConnection> connection);
  /// No more timers; the thread ends with the last connection.
  void finish();

  /// Whether the thread ended in time.
  bool waitForEnd(std::chrono::milliseconds time);
  [[nodiscard]] bool isOwnThread() const noexcept;

 private:
  struct End;

  MqttLoop() = default;
  void run();
  void runTasks();
  void runTimers();
  void waitAndServe();

  std::mutex mutex_;
  std::vector<Task> tasks_;
  int wakeReader_ = -1, wakeWriter_ = -1;
  std::shared_ptr<End> end_;

  std::map<Timer, Task> timers_;
  std::uint64_t lastTimer_ = 0;
  std::vector<std::shared_ptr<MqttConnection>> connections_;
  bool finishing_ = false;
};

}  // namespace zavelo::detail

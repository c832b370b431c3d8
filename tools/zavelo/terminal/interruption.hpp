#pragma once

#include <csignal>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace zavelo::command {

/// What SIGINT and SIGTERM do. The first one calls the handler that is set, on a thread of its own
/// where everything may be called; without a handler, and at the second, the process ends at once
/// with 128 and the signal's number.
class Interruption {
 public:
  /// The one instance. First called on the main thread before there is any other: threads inherit
  /// that the signals are not for them.
  [[nodiscard]] static Interruption& shared();

  /// An empty handler goes back to ending the process.
  void onSignal(std::function<void()> handler);
  /// The exit status that the first signal asks for, 130 or 143; none before it.
  [[nodiscard]] std::optional<int> status() const;
  /// Ends the process as the signal asks for, from inside a handler.
  [[noreturn]] static void endProcess();

  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

 private:
  Interruption();
  void watch();

  mutable std::mutex mutex_;
  std::function<void()> handler_;
  int signal_ = 0;
};

/// A handler for the time of a scope.
class OnSignal {
 public:
  explicit OnSignal(std::function<void()> handler) {
    Interruption::shared().onSignal(std::move(handler));
  }
  ~OnSignal() { Interruption::shared().onSignal({}); }
  OnSignal(const OnSignal&) = delete;
  OnSignal& operator=(const OnSignal&) = delete;
};

}  // namespace zavelo::command

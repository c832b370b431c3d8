#include "tools/zavelo/terminal/interruption.hpp"

#include <unistd.h>

#include <system_error>
#include <utility>

namespace zavelo::command {
namespace {

sigset_t watchedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

constexpr int exitStatusOf(int signal) {
  return 128 + signal;
}

}  // namespace

// Never destroyed: its thread waits until the process is over.
Interruption& Interruption::shared() {
  static Interruption& instance = *new Interruption;
  return instance;
}

Interruption::Interruption() {
  const sigset_t signals = watchedSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    std::thread([this] { watch(); }).detach();
  } catch (const std::system_error&) {
    // Without a thread that waits for them, the signals end the process by themselves.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  }
}

void Interruption::watch() {
  const sigset_t signals = watchedSignals();
  for (;;) {
    int signal = 0;
    if (sigwait(&signals, &signal) != 0) continue;
    std::unique_lock lock(mutex_);
    const bool isSecond = std::exchange(signal_, signal) != 0;
    const auto handler = handler_;
    lock.unlock();
    if (isSecond || !handler) endProcess();
    handler();
  }
}

void Interruption::onSignal(std::function<void()> handler) {
  const std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
}

std::optional<int> Interruption::status() const {
  const std::lock_guard lock(mutex_);
  if (signal_ == 0) return {};
  return exitStatusOf(signal_);
}

void Interruption::endProcess() {
  _exit(shared().status().value_or(exitStatusOf(SIGTERM)));
}

}  // namespace zavelo::command

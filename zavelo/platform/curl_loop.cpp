#include <curl/curl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>
#include <utility>

#include "zavelo/platform/curl_loop_internal.hpp"

namespace zavelo::detail {

namespace {

/// An app's signals are for its own threads, and a write to a closed connection must not end the
/// process by SIGPIPE. A thread inherits what is blocked when it starts.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

/// The loops of the process. At exit they end before OpenSSL takes its own state down: exit
/// handlers run in the reverse order of registration, and curl registers OpenSSL's first.
class LoopRegistry {
 public:
  static LoopRegistry& shared() {
    static auto& instance = *new LoopRegistry;  // outlives every static destructor
    return instance;
  }

  /// False once the process is exiting.
  bool add(const std::shared_ptr<CurlLoop>& loop) {
    const std::lock_guard lock(mutex_);
    std::erase_if(loops_, [](const auto& other) { return other.expired(); });
    loops_.push_back(loop);
    return !exiting_;
  }

 private:
  LoopRegistry() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    std::atexit([] { shared().stopAll(); });
  }

  void stopAll() {
    std::vector<std::weak_ptr<CurlLoop>> loops;
    {
      const std::lock_guard lock(mutex_);
      exiting_ = true;
      loops.swap(loops_);
    }
    for (const auto& entry : loops) {
      if (const auto loop = entry.lock()) loop->stop();
    }
  }

  std::mutex mutex_;
  std::vector<std::weak_ptr<CurlLoop>> loops_;
  bool exiting_ = false;
};

}  // namespace

std::shared_ptr<CurlLoop> CurlLoop::create(CurlHttpOptions options) {
  auto loop = std::make_shared<CurlLoop>(std::move(options));
  if (!LoopRegistry::shared().add(loop)) loop->stop();
  return loop;
}

void CurlLoop::add(const std::shared_ptr<CurlCall>& call) {
  if (!leave({Command::Kind::add, call})) call->answerCancelled();
}

void CurlLoop::cancel(std::shared_ptr<CurlCall> call) {
  leave({Command::Kind::cancel, std::move(call)});
}

bool CurlLoop::leave(Command command) {
  const std::lock_guard lock(mutex_);
  try {
    if (ended_) return false;
    if (!thread_.joinable()) startThread();
    commands_.push_back(std::move(command));
  } catch (const std::exception&) {
    return false;  // no thread or no memory to be had
  }
  wake();
  return true;
}

void CurlLoop::startThread() {
  const SignalsBlocked blocked;
  thread_ = std::thread([self = shared_from_this()] { self->run(); });
  process_ = getpid();
}

void CurlLoop::wake() {
  // One wake-up does for all commands until the thread waits again.
  if (std::exchange(waiting_, false)) curl_multi_wakeup(transfers_->multi());
}

void CurlLoop::stop() {
  std::thread thread;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    wake();
    thread.swap(thread_);
  }
  if (!thread.joinable()) return;
  if (thread.get_id() == std::this_thread::get_id()) {
    thread.detach();
    endAll();
  } else if (process_ == getpid()) {
    thread.join();
  } else {
    thread.detach();
  }
}

void CurlLoop::run() {
  transfers_ = std::make_unique<CurlTransfers>(options_);
  while (takeCommands()) {
    obeyCommands();
    transfers_->advance();
    if (mayWait()) transfers_->wait();
  }
  endAll();
  transfers_.reset();
}

bool CurlLoop::takeCommands() {
  const std::lock_guard lock(mutex_);
  waiting_ = false;
  batch_.clear();
  obeyed_ = 0;
  batch_.swap(commands_);
  return !ended_;
}

void CurlLoop::obeyCommands() {
  while (obeyed_ < batch_.size()) {
    const Command command = std::move(batch_[obeyed_++]);
    if (command.kind == Command::Kind::add) {
      transfers_->add(command.call);
    } else {
      transfers_->cancel(command.call);
    }
  }
}

bool CurlLoop::mayWait() {
  const std::lock_guard lock(mutex_);
  waiting_ = commands_.empty() && !ended_;
  return waiting_;
}

void CurlLoop::endAll() {
  // A handler may have brought this about: what it finds is left empty before the next is called.
  std::vector<Command> rest;
  {
    const std::lock_guard lock(mutex_);
    rest.swap(commands_);
  }
  while (obeyed_ < batch_.size()) rest.push_back(std::move(batch_[obeyed_++]));
  transfers_->cancelAll();
  for (const auto& command : rest) {
    if (!command.call->answered()) command.call->answerCancelled();
  }
}

}  // namespace zavelo::detail

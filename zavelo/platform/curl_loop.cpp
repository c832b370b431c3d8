#include <curl/curl.h>
#include <pthread.h>
#include <signal.h>

#include <cstdlib>
#include <new>
#include <system_error>
#include <utility>

#include "zavelo/platform/curl_failure_internal.hpp"
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

  /// False once the process is exiting. Two threads may add the same loop.
  bool add(const std::shared_ptr<CurlLoop>& loop) {
    const std::lock_guard lock(mutex_);
    std::erase_if(loops_, [&](const auto& other) {
      return other.expired() || (!other.owner_before(loop) && !loop.owner_before(other));
    });
    loops_.push_back(loop);
    forking_.reserve(loops_.size());
    return !exiting_;
  }

 private:
  LoopRegistry() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    std::atexit([] { shared().stopAll(); });
    // Another thread may hold any of the locks when a thread forks; in the child no one would ever
    // release them.
    pthread_atfork([] { shared().beforeFork(); },
                   [] { shared().afterFork(&CurlLoop::afterForkInParent); },
                   [] { shared().afterFork(&CurlLoop::afterForkInChild); });
  }

  void beforeFork() {
    mutex_.lock();
    for (const auto& entry : loops_) {
      if (auto loop = entry.lock()) {
        loop->beforeFork();
        forking_.push_back(std::move(loop));
      }
    }
  }

  void afterFork(void (CurlLoop::*unlock)()) {
    for (const auto& loop : forking_) (loop.get()->*unlock)();
    forking_.clear();
    mutex_.unlock();
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
  std::vector<std::shared_ptr<CurlLoop>> forking_;  ///< kept alive while their locks are held
  bool exiting_ = false;
};

}  // namespace

void CurlLoop::begin() {
  if (begun_) return;
  if (!LoopRegistry::shared().add(shared_from_this())) stop();
  begun_ = true;
}

void CurlLoop::add(const std::shared_ptr<CurlCall>& call) {
  const auto [taken, missing] = leave({Command::Kind::add, call});
  if (taken) return;
  if (!missing) return call->answerCancelled();
  call->endedWithout(*missing);
  call->answerEnded();
}

void CurlLoop::cancel(std::shared_ptr<CurlCall> call) {
  leave({Command::Kind::cancel, std::move(call)});
}

CurlLoop::Taken CurlLoop::leave(Command command) noexcept {
  const std::lock_guard lock(mutex_);
  if (ended_) return {};
  try {
    if (!thread_.joinable()) {
      if (const auto missing = startThread()) return {false, missing};
    }
    commands_.push_back(std::move(command));
  } catch (const std::bad_alloc&) {
    return {false, CurlResource::memory};
  }
  wake();
  return {true};
}

std::optional<CurlResource> CurlLoop::startThread() {
  try {
    if (!transfers_) transfers_ = std::make_unique<CurlTransfers>(options_);
  } catch (const std::system_error&) {
    return CurlResource::descriptor;
  }
  try {
    const SignalsBlocked blocked;
    thread_ = std::thread([self = shared_from_this()] { self->run(); });
  } catch (const std::system_error&) {
    return CurlResource::thread;
  }
  return std::nullopt;
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
  } else {
    thread.join();
  }
}

void CurlLoop::beforeFork() {
  mutex_.lock();
  if (transfers_) transfers_->working().lock();
}

void CurlLoop::afterForkInParent() {
  if (transfers_) transfers_->working().unlock();
  mutex_.unlock();
}

void CurlLoop::afterForkInChild() {
  // A handler that forks is still called from inside the loop: its child is to start a program.
  const bool onLoop = thread_.get_id() == std::this_thread::get_id();
  if (thread_.joinable() && !onLoop) {
    // Left as it is in memory, without a destructor: the thread may have been at work on it.
    new (&thread_) std::thread;
    new (&commands_) std::vector<Command>;
    new (&batch_) std::vector<Command>;
    obeyed_ = 0;
    waiting_ = false;
    static_cast<void>(transfers_.release());
  } else if (transfers_) {
    transfers_->working().unlock();
  }
  mutex_.unlock();
}

void CurlLoop::run() {
  while (takeCommands()) {
    obeyCommands();
    try {
      transfers_->advance();
    } catch (const std::bad_alloc&) {
      transfers_->failAll();
    }
    if (mayWait()) transfers_->wait();
  }
  endAll();
  std::unique_ptr<CurlTransfers> done;  // destroyed without the lock
  const std::lock_guard lock(mutex_);
  done = std::move(transfers_);
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
  // A handler may have brought this about, or do so now: each call is taken out before it is
  // answered.
  transfers_->cancelAll();
  do {
    while (obeyed_ < batch_.size()) {
      const Command command = std::move(batch_[obeyed_++]);
      if (!command.call->answered()) command.call->answerCancelled();
    }
    takeCommands();
  } while (!batch_.empty());
}

}  // namespace zavelo::detail

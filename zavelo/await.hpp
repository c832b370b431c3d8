#pragma once

/// Coroutines and futures over every operation that takes a completion:
///
///     Task<> enter(ZVUserService& users, ZVRTMService& chat) {
///       const auto user = co_await users.login("ann", "secret", "phone-1", 0, 0, awaitable);
///       if (!user.isOk()) co_return show(user.error().description);
///       const auto joined = co_await chat.joinChannel("soup", awaitable);
///     }
///
/// `co_await` works in the app's own coroutine types as well; `Task` is for those who have none.
/// The coroutine goes on on the main queue. Nothing throws.
///
/// GCC 12 destroys a record twice that is written in braces inside a `co_await` expression: give
/// the record a name first, or begin the call in a statement of
/// its own, `auto call = streams.createStream({…}, awaitable);`, and await `call`.

#include <coroutine>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <version>
#ifdef __cpp_lib_jthread
#include <stop_token>
#endif

#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/misuse.hpp"

namespace zavelo {

/// Takes the place of a completion: the call's handle then has the result, for `co_await` or
/// `future`.
struct Awaitable {
  template <class R>
  operator CallCompletion<R>() const {
    return CallCompletion<R>::forAwaiting();
  }
};
inline constexpr Awaitable awaitable{};

namespace detail {

template <class R>
const std::shared_ptr<AwaitedResult<R>>& awaitedOf(const AwaitableCall<R>& call) {
  if (!call.awaited())
    abortMisuse("a call that has a completion of its own was awaited; pass `awaitable` instead");
  return call.awaited();
}

/// Waits for one result. Destroyed before it came (with its coroutine), it cancels the call.
template <class R>
class CallAwaiter {
 public:
  explicit CallAwaiter(AwaitableCall<R>&& call)
      : call_(std::move(call)), awaited_(awaitedOf(call_)) {}
  ~CallAwaiter() {
    if (isDone_) return;
    awaited_->abandon();
    call_.cancel();
  }
  CallAwaiter(const CallAwaiter&) = delete;
  CallAwaiter& operator=(const CallAwaiter&) = delete;

  /// Never at once: a result that is there already may have come on another thread.
  [[nodiscard]] bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> waiting) {
    // The result may resume the coroutine, and so destroy this, before `wait` returns.
    const auto awaited = awaited_;
    awaited->wait([waiting] { waiting.resume(); });
  }
  [[nodiscard]] R await_resume() {
    isDone_ = true;
    return awaited_->take();
  }
  [[nodiscard]] const ZVCall& call() const noexcept { return call_; }

 private:
  const AwaitableCall<R> call_;
  const std::shared_ptr<AwaitedResult<R>> awaited_;
  bool isDone_ = false;
};

}  // namespace detail

/// Suspends until the call has its result, and goes on with that on the main queue. Destroying the
/// coroutine before that (on the main queue) cancels the call. To be awaited once.
template <class R>
[[nodiscard]] detail::CallAwaiter<R> operator co_await(AwaitableCall<R>&& call) {
  return detail::CallAwaiter<R>(std::move(call));
}
template <class R>
[[nodiscard]] detail::CallAwaiter<R> operator co_await(AwaitableCall<R>& call) {
  return detail::CallAwaiter<R>(std::move(call));
}

#ifdef __cpp_lib_jthread
namespace detail {

template <class R>
class StoppableAwaiter : public CallAwaiter<R> {
 public:
  StoppableAwaiter(AwaitableCall<R>&& call, const std::stop_token& stop)
      : CallAwaiter<R>(std::move(call)), onStop_(stop, Cancel{this->call()}) {}

 private:
  struct Cancel {
    ZVCall call;
    void operator()() const { call.cancel(); }
  };
  std::stop_callback<Cancel> onStop_;
};

}  // namespace detail

/// `co_await cancelledBy(stop, users.login(…, awaitable))`: the call ends early, with an error,
/// when a stop is requested, on whatever thread.
template <class R>
[[nodiscard]] detail::StoppableAwaiter<R> cancelledBy(const std::stop_token& stop,
                                                      AwaitableCall<R>&& call) {
  return {std::move(call), stop};
}
#endif

/// The result for a thread that may block, which the one that drives the main queue may not. A main
/// queue that is destroyed first breaks the promise.
template <class R>
[[nodiscard]] std::future<R> future(const AwaitableCall<R>& call) {
  const auto awaited = detail::awaitedOf(call);
  std::promise<R> promise;
  auto result = promise.get_future();
  // Held by what it points to.
  awaited->wait([from = awaited.get(), promise = std::move(promise)]() mutable {
    promise.set_value(from->take());
  });
  return result;
}

template <class T = void>
class Task;

namespace detail {

struct TaskPromiseBase {
  struct Final {
    [[nodiscard]] bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> ended) const noexcept {
      const auto next = ended.promise().waiting;
      return next ? next : std::noop_coroutine();
    }
    void await_resume() const noexcept {}
  };

  [[nodiscard]] std::suspend_never initial_suspend() const noexcept { return {}; }
  [[nodiscard]] Final final_suspend() const noexcept { return {}; }
  [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }

  std::coroutine_handle<> waiting;  ///< for the end of this one
};

template <class T>
struct TaskPromise : TaskPromiseBase {
  Task<T> get_return_object();
  void return_value(T result) { value.emplace(std::move(result)); }
  T take() { return std::move(*value); }
  std::optional<T> value;
};

template <>
struct TaskPromise<void> : TaskPromiseBase {
  Task<void> get_return_object();
  void return_void() const noexcept {}
  void take() const noexcept {}
};

}  // namespace detail

/// A coroutine that begins at once, on the caller's thread, and goes on on the main queue wherever
/// it awaits a call. Keep it as long as it shall run: destroying it (on the main queue) ends it and
/// cancels what it awaits. Other tasks may await it, once. An exception that leaves it ends the
/// process, like one that leaves a thread.
template <class T>
class [[nodiscard]] Task {
 public:
  using promise_type = detail::TaskPromise<T>;

  Task() = default;
  explicit Task(std::coroutine_handle<promise_type> running) : running_(running) {}
  Task(Task&& other) noexcept : running_(std::exchange(other.running_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      const Task ended(std::exchange(running_, std::exchange(other.running_, nullptr)));
    }
    return *this;
  }
  ~Task() {
    if (running_) running_.destroy();
  }

  [[nodiscard]] bool isDone() const noexcept { return !running_ || running_.done(); }

  class Awaiter {
   public:
    explicit Awaiter(std::coroutine_handle<promise_type> awaited) : awaited_(awaited) {}
    ~Awaiter() {
      if (isWaiting_) awaited_.promise().waiting = nullptr;
    }
    Awaiter(const Awaiter&) = delete;
    Awaiter& operator=(const Awaiter&) = delete;

    [[nodiscard]] bool await_ready() const noexcept { return awaited_.done(); }
    void await_suspend(std::coroutine_handle<> waiting) noexcept {
      isWaiting_ = true;
      awaited_.promise().waiting = waiting;
    }
    T await_resume() {
      isWaiting_ = false;
      return awaited_.promise().take();
    }

   private:
    const std::coroutine_handle<promise_type> awaited_;
    bool isWaiting_ = false;
  };
  /// The task must outlive the awaiting.
  [[nodiscard]] Awaiter operator co_await() const noexcept { return Awaiter(running_); }

 private:
  std::coroutine_handle<promise_type> running_;
};

template <class T>
Task<T> detail::TaskPromise<T>::get_return_object() {
  return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}
inline Task<void> detail::TaskPromise<void>::get_return_object() {
  return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

}  // namespace zavelo

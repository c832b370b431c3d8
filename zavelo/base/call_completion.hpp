#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "zavelo/base/call.hpp"
#include "zavelo/base/unique_function.hpp"

namespace zavelo {

namespace detail {

/// What a call that is awaited gets when its completion is destroyed without an answer.
template <class R>
struct CancelledResult {
  static R make() { return R(); }
};

/// Where the result of an awaited call and the one who waits for it meet.
template <class R>
class AwaitedResult : public std::enable_shared_from_this<AwaitedResult<R>> {
 public:
  using Post = std::function<void(UniqueFunction<void()>)>;

  /// Before the call begins: how to come to the queue that its completion runs on.
  void setPost(Post post) { post_ = std::move(post); }

  /// Calls `ready` on that queue, once the result is there; never before this returns.
  void wait(UniqueFunction<void()> ready) {
    {
      const std::lock_guard lock(mutex_);
      ready_ = std::move(ready);
      if (!result_) return;
    }
    fireLater();
  }
  /// From now on no one waits. Not while `ready` is running on another thread.
  void abandon() {
    UniqueFunction<void()> unused;
    const std::lock_guard lock(mutex_);
    std::swap(unused, ready_);
  }
  [[nodiscard]] R take() { return std::move(*result_); }

  // What the completion does:
  void set(R result) {
    {
      const std::lock_guard lock(mutex_);
      result_.emplace(std::move(result));
    }
    fire();
  }
  void lose() {
    {
      const std::lock_guard lock(mutex_);
      if (result_) return;
      result_.emplace(CancelledResult<R>::make());
    }
    fireLater();
  }

 private:
  void fireLater() {
    if (post_) post_([self = this->shared_from_this()] { self->fire(); });
  }
  void fire() {
    UniqueFunction<void()> ready;
    {
      const std::lock_guard lock(mutex_);
      std::swap(ready, ready_);
    }
    if (ready) ready();
  }

  Post post_;
  std::mutex mutex_;  // guards what follows
  std::optional<R> result_;
  UniqueFunction<void()> ready_;
};

}  // namespace detail

/// The callback of one call: move-only, and called exactly once with the call's result. Any
/// callable becomes one; so does `awaitable` (zavelo/await.hpp), which hands the result over to a
/// coroutine or a future.
template <class R>
class CallCompletion : public UniqueFunction<void(R)> {
 public:
  using UniqueFunction<void(R)>::UniqueFunction;

  /// One for a result that the call's handle waits for.
  [[nodiscard]] static CallCompletion forAwaiting() {
    auto awaited = std::make_shared<detail::AwaitedResult<R>>();
    CallCompletion completion{Answer{awaited}};
    completion.awaited_ = std::move(awaited);
    return completion;
  }
  /// Null for a callable of the app's own.
  [[nodiscard]] const std::shared_ptr<detail::AwaitedResult<R>>& awaited() const noexcept {
    return awaited_;
  }

 private:
  struct Answer {
    explicit Answer(std::shared_ptr<detail::AwaitedResult<R>> result)
        : awaited(std::move(result)) {}
    Answer(Answer&&) noexcept = default;
    Answer& operator=(Answer&&) = delete;
    ~Answer() {
      if (awaited) awaited->lose();
    }
    void operator()(R result) { awaited->set(std::move(result)); }

    std::shared_ptr<detail::AwaitedResult<R>> awaited;
  };

  std::shared_ptr<detail::AwaitedResult<R>> awaited_;
};

struct Awaitable;

/// A call under way that knows the type of its result: what `co_await` and `future` take when the
/// call was made with `awaitable` (zavelo/await.hpp).
template <class R>
class AwaitableCall : public ZVCall {
 public:
  AwaitableCall() = default;
  AwaitableCall(ZVCall call, std::shared_ptr<detail::AwaitedResult<R>> awaited)
      : ZVCall(std::move(call)), awaited_(std::move(awaited)) {}

  [[nodiscard]] const std::shared_ptr<detail::AwaitedResult<R>>& awaited() const noexcept {
    return awaited_;
  }

 private:
  std::shared_ptr<detail::AwaitedResult<R>> awaited_;
};

namespace detail {

/// Begins a call that may be awaited; `begin` takes the completion and returns a `ZVCall`.
/// `mainQueue` is where the completion runs, held weakly.
template <class R, class Queue, class Begin>
AwaitableCall<R> beginCall(const std::shared_ptr<Queue>& mainQueue, CallCompletion<R> completion,
                           Begin begin) {
  auto awaited = completion.awaited();
  if (awaited)
    awaited->setPost([weak = std::weak_ptr(mainQueue)](UniqueFunction<void()> task) {
      if (const auto queue = weak.lock()) queue->post(std::move(task));
    });
  return {begin(std::move(completion)), std::move(awaited)};
}

}  // namespace detail

}  // namespace zavelo

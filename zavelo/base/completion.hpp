#pragma once

#include <cassert>
#include <utility>

#include "zavelo/base/unique_function.hpp"

namespace zavelo {

/// A callback that must be answered exactly once. It moves along with the work; debug builds stop
/// at a second call and at one that is destroyed without an answer.
template <class... Args>
class Completion {
 public:
  template <class F>
  requires std::is_invocable_v < std::decay_t<F>
  &, Args... > explicit Completion(F&& function) : function_(std::forward<F>(function)) {}

  Completion(Completion&&) noexcept = default;
  Completion& operator=(Completion&&) = delete;
  ~Completion() { assert(!function_ && "a completion was lost without an answer"); }

  /// Answers. The callable is released before it returns.
  void operator()(Args... args) && {
    assert(function_ && "a completion was answered twice");
    auto function = std::exchange(function_, nullptr);
    if (function) function(std::forward<Args>(args)...);
  }

  /// Gives the answer up, where the system promises that the callback is not called.
  void drop() && { function_ = nullptr; }

 private:
  UniqueFunction<void(Args...)> function_;
};

}  // namespace zavelo

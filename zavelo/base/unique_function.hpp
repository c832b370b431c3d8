#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace zavelo {

template <class Signature>
class UniqueFunction;

namespace detail {
/// A function pointer that is null, or an empty function object.
template <class F>
bool isEmptyFunction(const F& function) {
  if constexpr (std::is_constructible_v<F, std::nullptr_t> &&
                std::is_constructible_v<bool, const F&>) {
    return !static_cast<bool>(function);
  } else {
    return false;
  }
}
}  // namespace detail

/// A callable that is moved along and never copied, so that what it captures may be move-only too.
template <class R, class... Args>
class UniqueFunction<R(Args...)> {
 public:
  UniqueFunction() = default;
  UniqueFunction(std::nullptr_t) {}

  template <class F>
  requires(!std::is_same_v<std::decay_t<F>, UniqueFunction> &&
           std::is_invocable_r_v<R, std::decay_t<F>&, Args...>) UniqueFunction(F&& function) {
    if (!detail::isEmptyFunction<std::decay_t<F>>(function))
      body_ = std::make_unique<BodyOf<std::decay_t<F>>>(std::forward<F>(function));
  }

  R operator()(Args... args) { return body_->call(std::forward<Args>(args)...); }
  explicit operator bool() const noexcept { return body_ != nullptr; }

 private:
  struct Body {
    virtual ~Body() = default;
    virtual R call(Args... args) = 0;
  };
  template <class F>
  struct BodyOf final : Body {
    template <class G>
    explicit BodyOf(G&& g) : function(std::forward<G>(g)) {}
    R call(Args... args) override { return function(std::forward<Args>(args)...); }
    F function;
  };

  std::unique_ptr<Body> body_;
};

template <class Signature>
class SharedFunction;

/// A callable that may be copied although what it captures is move-only: the copies share it.
template <class R, class... Args>
class SharedFunction<R(Args...)> {
 public:
  SharedFunction() = default;
  SharedFunction(std::nullptr_t) {}

  template <class F>
  requires(!std::is_same_v<std::decay_t<F>, SharedFunction> &&
           std::is_invocable_r_v<R, std::decay_t<F>&, Args...>) SharedFunction(F&& function) {
    if (!detail::isEmptyFunction<std::decay_t<F>>(function))
      function_ = std::make_shared<UniqueFunction<R(Args...)>>(std::forward<F>(function));
  }

  R operator()(Args... args) const { return (*function_)(std::forward<Args>(args)...); }
  explicit operator bool() const noexcept { return function_ != nullptr; }

 private:
  std::shared_ptr<UniqueFunction<R(Args...)>> function_;
};

}  // namespace zavelo

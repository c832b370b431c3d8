#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace zavelo {

template <class Signature>
class UniqueFunction;

/// A callable that is moved along and never copied, so that what it captures may be move-only too.
template <class R, class... Args>
class UniqueFunction<R(Args...)> {
 public:
  UniqueFunction() = default;
  UniqueFunction(std::nullptr_t) {}

  template <class F>
  requires(!std::is_same_v<std::decay_t<F>, UniqueFunction> &&
           std::is_invocable_r_v<R, std::decay_t<F>&, Args...>) UniqueFunction(F&& function)
      : body_(std::make_unique<BodyOf<std::decay_t<F>>>(std::forward<F>(function))) {}

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

}  // namespace zavelo

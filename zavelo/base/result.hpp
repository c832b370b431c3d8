#pragma once

#include <cstddef>
#include <utility>
#include <variant>

#include "zavelo/base/misuse.hpp"

namespace zavelo {

/// Wraps an error on its way into a Result: `return Failure{Error{...}};`.
template <class E>
struct Failure {
  E error;
};
template <class E>
Failure(E) -> Failure<E>;

/// Either a value or the reason why there is none. Never both, never neither. To ask for the one
/// that it does not hold writes a message to standard error and aborts, in every build.
///
///     Result<Session, Error> opened = open(path);
///     if (!opened) return Failure{std::move(opened).error()};
///     use(*opened);
template <class T, class E>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  template <class F>
  Result(Failure<F> failure) : state_(std::in_place_index<1>, std::move(failure.error)) {}

  [[nodiscard]] bool hasValue() const noexcept { return state_.index() == 0; }
  explicit operator bool() const noexcept { return hasValue(); }

  [[nodiscard]] T& value() & { return checked<0>(*this); }
  [[nodiscard]] const T& value() const& { return checked<0>(*this); }
  [[nodiscard]] T&& value() && { return std::move(checked<0>(*this)); }
  [[nodiscard]] const E& error() const& { return checked<1>(*this); }
  [[nodiscard]] E&& error() && { return std::move(checked<1>(*this)); }

  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

 private:
  template <std::size_t Index, class Self>
  static auto& checked(Self& self) {
    if (self.state_.index() != Index)
      detail::abortMisuse(Index == 0 ? "value() of a Result that holds an error"
                                     : "error() of a Result that holds a value");
    return *std::get_if<Index>(&self.state_);
  }

  std::variant<T, E> state_;
};

/// A Result of an operation that has nothing to hand back.
template <class E>
using Status = Result<std::monostate, E>;

/// The success of a Status.
inline constexpr std::monostate noFailure{};

}  // namespace zavelo

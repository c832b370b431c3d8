#pragma once

#include <type_traits>

namespace zavelo {
namespace detail {

template <class R>
struct Argument {};
template <class R, class A>
struct Argument<R (*)(A)> : std::type_identity<A> {};
template <class C, class R, class A>
struct Argument<R (C::*)(A)> : std::type_identity<A> {};
template <class C, class R, class A>
struct Argument<R (C::*)(A) const> : std::type_identity<A> {};
template <class R, class A>
struct Argument<R (*)(A) noexcept> : std::type_identity<A> {};
template <class C, class R, class A>
struct Argument<R (C::*)(A) noexcept> : std::type_identity<A> {};
template <class C, class R, class A>
struct Argument<R (C::*)(A) const noexcept> : std::type_identity<A> {};

template <class F>
struct OnlyArgument : Argument<F> {};
template <class F>
requires requires {
  &F::operator();
}
struct OnlyArgument<F> : Argument<decltype(&F::operator())> {};

}  // namespace detail

/// A function whose one parameter is written as this type, by value or by reference. One with an
/// `auto` parameter is none: whether its body takes the type cannot be asked without an error.
template <class F, class T>
concept Takes = requires {
  typename detail::OnlyArgument<std::decay_t<F>>::type;
}
&&std::is_same_v<std::remove_cvref_t<typename detail::OnlyArgument<std::decay_t<F>>::type>, T>;

}  // namespace zavelo

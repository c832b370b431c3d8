#pragma once

#include <concepts>
#include <optional>
#include <type_traits>
#include <utility>

#include "zavelo/json/codec.hpp"

namespace zavelo::json {

/// An optional field that is settled when its record comes into being: whoever holds the record
/// reads it like a `std::optional`, and nobody changes it.
template <class T>
class Fixed {
 public:
  Fixed() = default;
  template <class U>
  requires std::constructible_from<std::optional<T>, U &&> Fixed(U&& value)
      : value_(std::forward<U>(value)) {}
  Fixed(const Fixed&) = default;
  Fixed(Fixed&&) = default;
  Fixed& operator=(const Fixed&) = delete;
  Fixed& operator=(Fixed&&) = delete;

  [[nodiscard]] bool has_value() const noexcept { return value_.has_value(); }
  explicit operator bool() const noexcept { return value_.has_value(); }
  [[nodiscard]] const T& operator*() const noexcept { return *value_; }
  const T* operator->() const noexcept { return &*value_; }
  template <class U>
  [[nodiscard]] T value_or(U&& fallback) const {
    return value_.value_or(std::forward<U>(fallback));
  }
  template <class U>
  bool operator==(const U& other) const {
    return value_ == other;
  }

 private:
  std::optional<T> value_;
};

template <class T>
struct detail::CodecOf<Fixed<T>> : CodecOf<std::optional<T>> {
  static_assert(std::is_standard_layout_v<Fixed<T>>,
                "it is filled as the optional that it begins with");
};

}  // namespace zavelo::json

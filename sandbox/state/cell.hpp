#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// Bytes, as opposed to text.
struct Blob {
  std::string bytes;
};

/// What a column holds or a placeholder is given.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string, Blob>;

/// One row of a result, in the order of what the query selects.
using Row = std::vector<Cell>;

namespace detail {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

}  // namespace detail

/// How a value of the sandbox is kept: flags and enumerators as their number, moments and durations
/// in milliseconds, what is absent as NULL.
template <class T>
[[nodiscard]] Cell cellOf(const T& value) {
  if constexpr (detail::isOptional<T>) {
    return value ? cellOf(*value) : Cell{};
  } else if constexpr (std::same_as<T, Time>) {
    return stored(value);
  } else if constexpr (std::same_as<T, std::chrono::milliseconds>) {
    return std::int64_t{value.count()};
  } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
    return static_cast<std::int64_t>(value);
  } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
    return std::string(std::string_view(value));
  } else {
    return value;
  }
}

/// The value that `cellOf` made the cell from. Throws std::bad_variant_access for another type's.
template <class T>
[[nodiscard]] T valueOf(const Cell& cell) {
  if constexpr (detail::isOptional<T>) {
    if (std::holds_alternative<std::monostate>(cell)) return {};
    return valueOf<typename T::value_type>(cell);
  } else if constexpr (std::same_as<T, Time>) {
    return fromStored(std::get<std::int64_t>(cell));
  } else if constexpr (std::same_as<T, std::chrono::milliseconds>) {
    return T(std::get<std::int64_t>(cell));
  } else if constexpr (std::same_as<T, bool>) {
    return std::get<std::int64_t>(cell) != 0;
  } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
    return static_cast<T>(std::get<std::int64_t>(cell));
  } else {
    return std::get<T>(cell);
  }
}

}  // namespace zavelo::sandbox

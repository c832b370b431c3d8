#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "zavelo/base/entity_name.hpp"

namespace zavelo {

/// One case of an enumeration whose codes travel on the wire.
template <class E>
struct CodedCase {
  E value;
  std::string_view name;  ///< the enumerator's own name
};

/// The cases of E in declared order; every coded enumeration specialises it once:
///
///     template <>
///     inline constexpr auto codedCases<Colour> = caseTable<Colour::red, Colour::green>();
template <class E>
inline constexpr std::array<CodedCase<E>, 0> codedCases{};

template <auto First, auto... Rest>
consteval auto caseTable() {
  using E = decltype(First);
  return std::array<CodedCase<E>, 1 + sizeof...(Rest)>{
      {{First, detail::entityName<First>()}, {Rest, detail::entityName<Rest>()}...}};
}

template <class E>
concept CodedEnum = codedCases<E>
.size() > 0;

template <CodedEnum E>
[[nodiscard]] constexpr std::int64_t rawValue(E value) noexcept {
  return static_cast<std::int64_t>(value);
}

/// No value when `raw` is not one of E's codes.
template <CodedEnum E>
[[nodiscard]] constexpr std::optional<E> fromRawValue(std::int64_t raw) noexcept {
  for (const auto& known : codedCases<E>)
    if (rawValue(known.value) == raw) return known.value;
  return std::nullopt;
}

template <CodedEnum E>
[[nodiscard]] constexpr std::string_view caseName(E value) noexcept {
  for (const auto& known : codedCases<E>)
    if (known.value == value) return known.name;
  return {};
}

}  // namespace zavelo

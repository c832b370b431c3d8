#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zavelo::json::detail {

/// plainInteger() of a token of more than one character.
[[nodiscard]] std::optional<std::int64_t> longInteger(std::string_view token) noexcept;

/// The number that the token says when it is written with digits alone and fits in 64 bits. The
/// text is readable for 8 bytes behind the token. Flags and small codes are what most integers are.
[[nodiscard]] inline std::optional<std::int64_t> plainInteger(std::string_view token) noexcept {
  if (token.size() == 1) {
    const auto digit = static_cast<unsigned>(token[0]) - '0';
    return digit <= 9 ? std::optional<std::int64_t>(digit) : std::nullopt;
  }
  return longInteger(token);
}

enum class IntegerFault {
  none,
  notInteger,  ///< no JSON number (RFC 8259 section 6), or one that has a fraction
  outOfRange,  ///< beyond 64 bits
};

/// Reads the integer that a JSON number says, however it is written ("10", "1.0e1"). Exact: a real
/// in between would lose digits.
[[nodiscard]] IntegerFault exactInteger(std::string_view token, std::int64_t& out) noexcept;

[[nodiscard]] bool isNumber(std::string_view token) noexcept;
/// The nearest real of a JSON number: zero when it is too small for any other, infinite when it is
/// too large. No value when the text is not a number.
[[nodiscard]] std::optional<double> real(std::string_view token);

/// Makes `out` what a JSON text says between its quotes, escapes resolved. Half a surrogate pair
/// becomes U+FFFD. False when an escape is not one (RFC 8259 section 7).
[[nodiscard]] bool unescape(std::string_view raw, std::string& out);

}  // namespace zavelo::json::detail

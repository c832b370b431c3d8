#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "zavelo/json/scalars_internal.hpp"

namespace zavelo::json::detail {
namespace {

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

std::string_view takeDigits(std::string_view& text) noexcept {
  std::size_t count = 0;
  while (count < text.size() && isDigit(text[count])) ++count;
  const auto digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

struct Parts {
  bool negative = false;
  std::string_view whole;
  std::string_view fraction;
  std::int64_t exponent = 0;
};

// More than any text has digits to make up for, and so small that adding their number to it cannot
// overflow.
constexpr std::int64_t largestExponent = std::int64_t{1} << 40;

// A larger exponent leaves nothing but zero or an overflow, which a clamped one says as well.
std::optional<std::int64_t> exponentOf(std::string_view& text) noexcept {
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  const auto digits = takeDigits(text);
  if (digits.empty()) return std::nullopt;
  std::int64_t exponent = largestExponent;
  std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
  exponent = std::min(exponent, largestExponent);
  return negative ? -exponent : exponent;
}

std::optional<Parts> split(std::string_view text) noexcept {
  Parts parts;
  if (!text.empty() && text.front() == '-') {
    parts.negative = true;
    text.remove_prefix(1);
  }
  parts.whole = takeDigits(text);
  if (parts.whole.empty() || (parts.whole.size() > 1 && parts.whole.front() == '0'))
    return std::nullopt;
  if (!text.empty() && text.front() == '.') {
    text.remove_prefix(1);
    parts.fraction = takeDigits(text);
    if (parts.fraction.empty()) return std::nullopt;
  }
  if (!text.empty() && (text.front() == 'e' || text.front() == 'E')) {
    text.remove_prefix(1);
    const auto exponent = exponentOf(text);
    if (!exponent) return std::nullopt;
    parts.exponent = *exponent;
  }
  return text.empty() ? std::optional(parts) : std::nullopt;
}

// The value is built on the negative side, which reaches one further.
bool appendDigit(std::int64_t& value, int digit) noexcept {
  return !__builtin_mul_overflow(value, std::int64_t{10}, &value) &&
         !__builtin_sub_overflow(value, std::int64_t{digit}, &value);
}

bool isZero(const Parts& parts) noexcept {
  return parts.whole == "0" && parts.fraction.find_first_not_of('0') == std::string_view::npos;
}

// The standard library reads the digits of a larger exponent only in part.
constexpr std::int64_t largestReliableExponent = 9999;

/// The size of a number that has many digits or a large exponent, of which one may make up for the
/// other. It is between a tenth of 10^magnitude and 10^magnitude.
double realOfAnySize(const Parts& parts) {
  if (isZero(parts)) return 0;
  std::string digits(parts.whole);
  digits += parts.fraction;
  const auto zeros = digits.find_first_not_of('0');
  const std::int64_t magnitude = static_cast<std::int64_t>(parts.whole.size()) + parts.exponent -
                                 static_cast<std::int64_t>(zeros);
  if (magnitude > std::numeric_limits<double>::max_exponent10 + 1)
    return std::numeric_limits<double>::infinity();
  if (magnitude < -400) return 0;
  digits.replace(0, zeros, "0.").append("e").append(std::to_string(magnitude));
  double value = 0;
  const auto fault = std::from_chars(digits.data(), digits.data() + digits.size(), value).ec;
  if (fault == std::errc()) return value;
  return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0;
}

// Eight digits at once, as in "Number Parsing at a Gigabyte per Second" (Lemire, 2021).
bool areEightDigits(std::uint64_t block) noexcept {
  constexpr std::uint64_t highNibbles = 0xF0F0F0F0F0F0F0F0u;
  return ((block & highNibbles) | (((block + 0x0606060606060606u) & highNibbles) >> 4)) ==
         0x3333333333333333u;
}

std::uint64_t valueOfEightDigits(std::uint64_t block) noexcept {
  block -= 0x3030303030303030u;
  block = block * 10 + (block >> 8);
  return (((block & 0x000000FF000000FFu) * 0x000F424000000064u) +
          (((block >> 16) & 0x000000FF000000FFu) * 0x0000271000000001u)) >>
         32;
}

static_assert(std::endian::native == std::endian::little, "the first digit is the lowest byte");

/// The value of 1 to 8 digits; `sound` becomes false when they are none.
std::uint64_t valueOfDigits(const char* digits, std::size_t count, bool& sound) noexcept {
  std::uint64_t block;
  std::memcpy(&block, digits, sizeof block);
  if (count < 8) {  // push the digits up against the end, behind zeros
    const auto missing = 8 * (8 - count);
    block = (block << missing) | (0x3030303030303030u >> (64 - missing));
  }
  sound &= areEightDigits(block);
  return valueOfEightDigits(block);
}

}  // namespace

std::optional<std::int64_t> longInteger(std::string_view token) noexcept {
  constexpr std::uint64_t tenToThe8 = 100'000'000;
  const bool negative = !token.empty() && token.front() == '-';
  if (negative) token.remove_prefix(1);
  const char* digits = token.data();
  const std::size_t count = token.size();
  if (count == 0 || count > 19 || (*digits == '0' && count > 1)) return std::nullopt;
  bool sound = true;
  std::uint64_t value = 0;
  if (count <= 8) {
    value = valueOfDigits(digits, count, sound);
  } else if (count <= 16) {
    value = valueOfDigits(digits, count - 8, sound) * tenToThe8 +
            valueOfDigits(digits + count - 8, 8, sound);
  } else {  // 19 digits cannot overflow 64 bits without a sign
    value = valueOfDigits(digits, count - 16, sound) * tenToThe8 * tenToThe8 +
            valueOfDigits(digits + count - 16, 8, sound) * tenToThe8 +
            valueOfDigits(digits + count - 8, 8, sound);
  }
  const auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (!sound || value > limit + (negative ? 1 : 0)) return std::nullopt;
  return static_cast<std::int64_t>(negative ? 0 - value : value);
}

bool isNumber(std::string_view token) noexcept {
  return split(token).has_value();
}

std::optional<double> real(std::string_view token) {
  const auto parts = split(token);
  if (!parts) return std::nullopt;
  double value = 0;
  const auto fault = std::from_chars(token.data(), token.data() + token.size(), value).ec;
  if (fault == std::errc() && std::abs(parts->exponent) <= largestReliableExponent) return value;
  value = realOfAnySize(*parts);
  return parts->negative ? -value : value;
}

IntegerFault exactInteger(std::string_view token, std::int64_t& out) noexcept {
  const auto parts = split(token);
  if (!parts) return IntegerFault::notInteger;
  out = 0;
  if (isZero(*parts)) return IntegerFault::none;

  const auto wholeSize = static_cast<std::int64_t>(parts->whole.size());
  const auto size = wholeSize + static_cast<std::int64_t>(parts->fraction.size());
  const std::int64_t point = wholeSize + parts->exponent;
  std::int64_t value = 0;
  for (std::int64_t i = 0; i < size; ++i) {
    const auto at = static_cast<std::size_t>(i < wholeSize ? i : i - wholeSize);
    const int digit = (i < wholeSize ? parts->whole[at] : parts->fraction[at]) - '0';
    if (i >= point) {
      if (digit != 0) return IntegerFault::notInteger;
    } else if (!appendDigit(value, digit)) {
      return IntegerFault::outOfRange;
    }
  }
  for (std::int64_t i = size; i < point; ++i)
    if (!appendDigit(value, 0)) return IntegerFault::outOfRange;
  if (!parts->negative && value == std::numeric_limits<std::int64_t>::min())
    return IntegerFault::outOfRange;
  out = parts->negative ? value : -value;
  return IntegerFault::none;
}

}  // namespace zavelo::json::detail

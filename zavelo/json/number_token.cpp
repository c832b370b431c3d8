#include <charconv>
#include <limits>

#include "zavelo/json/number_token_internal.hpp"

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

// A longer exponent leaves nothing but zero or an overflow, which a clamped one says as well.
std::optional<std::int64_t> exponentOf(std::string_view& text) noexcept {
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  const auto digits = takeDigits(text);
  if (digits.empty()) return std::nullopt;
  std::int64_t exponent = std::numeric_limits<std::int32_t>::max();
  std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
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

}  // namespace

std::optional<std::int64_t> exactInteger(std::string_view token) noexcept {
  const auto parts = split(token);
  if (!parts) return std::nullopt;
  if (isZero(*parts)) return 0;

  const auto wholeSize = static_cast<std::int64_t>(parts->whole.size());
  const auto size = wholeSize + static_cast<std::int64_t>(parts->fraction.size());
  const std::int64_t point = wholeSize + parts->exponent;
  std::int64_t value = 0;
  for (std::int64_t i = 0; i < size; ++i) {
    const auto at = static_cast<std::size_t>(i < wholeSize ? i : i - wholeSize);
    const int digit = (i < wholeSize ? parts->whole[at] : parts->fraction[at]) - '0';
    if (i >= point) {
      if (digit != 0) return std::nullopt;
    } else if (!appendDigit(value, digit)) {
      return std::nullopt;
    }
  }
  for (std::int64_t i = size; i < point; ++i)
    if (!appendDigit(value, 0)) return std::nullopt;
  if (parts->negative) return value;
  if (value == std::numeric_limits<std::int64_t>::min()) return std::nullopt;
  return -value;
}

}  // namespace zavelo::json::detail

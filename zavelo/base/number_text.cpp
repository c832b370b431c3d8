#include "zavelo/base/number_text.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace zavelo {
namespace {

// Outside this range the digits of the plain notation say more than the value knows.
constexpr double smallestPlain = 1e-4;
constexpr double largestPlain = 18014398509481984.0;  // 2^54

bool isPlain(double value) noexcept {
  const double size = std::fabs(value);
  return size == 0 || (size >= smallestPlain && size <= largestPlain);
}

}  // namespace

char* writeNumberText(char* out, std::int64_t value) noexcept {
  return std::to_chars(out, out + numberTextLimit, value).ptr;
}

char* writeNumberText(char* out, double value) noexcept {
  // The sign of a NaN says nothing about the value.
  if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
  if (!std::isfinite(value)) return std::to_chars(out, out + numberTextLimit, value).ptr;
  if (!isPlain(value))
    return std::to_chars(out, out + numberTextLimit, value, std::chars_format::scientific).ptr;
  char* end = std::to_chars(out, out + numberTextLimit, value, std::chars_format::fixed).ptr;
  if (std::memchr(out, '.', static_cast<std::size_t>(end - out)) == nullptr) {
    *end++ = '.';
    *end++ = '0';
  }
  return end;
}

std::string numberText(double value) {
  char text[numberTextLimit];
  return {text, writeNumberText(text, value)};
}

std::string numberText(std::int64_t value) {
  char text[numberTextLimit];
  return {text, writeNumberText(text, value)};
}

}  // namespace zavelo

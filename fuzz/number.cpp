#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "fuzz/fuzz.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/json/json.hpp"

// Numbers: read from a text, and any of them written and read back.

namespace zavelo::fuzz {
namespace {

void readNumber(const std::string& text) {
  const double size = std::strtod(text.c_str(), nullptr);
  if (const auto real = json::decode<double>(text))
    require(*real == size && std::signbit(*real) == std::signbit(size), "a number is read exactly");
  else if (real.error().reason == "number out of range")
    require(std::isinf(size), "a number is refused by its size");

  if constexpr (std::numeric_limits<long double>::digits >= 64) {
    const long double exact = std::strtold(text.c_str(), nullptr);
    if (const auto integer = json::decode<std::int64_t>(text))
      require(static_cast<long double>(*integer) == exact, "an integer is read exactly");
    else if (integer.error().reason == "integer out of range")
      require(std::fabs(exact) >= 0x1p63L, "an integer is refused by its size");
  }
}

void writeNumber(double number) {
  const std::string text = numberText(number);
  require(text.size() <= numberTextLimit, "a number's text has its room");
  if (!std::isfinite(number))
    return require(text == (std::isnan(number) ? "nan"
                            : number < 0       ? "-inf"
                                               : "inf"),
                   "what is no number has a name");
  const auto read = json::decode<json::Value>(text);
  require(read && read->as<double>() && *read->as<double>() == number,
          "a text reads back as the same real");
}

}  // namespace

void run(std::string_view input) {
  if (!input.starts_with("\xEF\xBB\xBF")) readNumber(std::string(input));
  double number = 0;
  if (input.size() < sizeof number) return;
  std::memcpy(&number, input.data(), sizeof number);
  writeNumber(number);
}

}  // namespace zavelo::fuzz

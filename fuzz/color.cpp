#include "zavelo/core/color.hpp"

#include <algorithm>
#include <cstring>

#include "fuzz/fuzz.hpp"

// Colours from a text and to one.

void zavelo::fuzz::run(std::string_view input) {
  const auto& parts = ZVColor::getColorFrom(input).components;
  require(parts.empty() || parts.size() == 4, "a colour has four components, or is the default");
  require(
      std::all_of(parts.begin(), parts.end(), [](double part) { return part >= 0 && part <= 1; }),
      "a component is from 0 to 1");
  const auto hex = ZVColor::getHexFrom({parts});
  require(hex.has_value() == !parts.empty(), "the default colour has no text");
  if (hex) {
    const auto again = ZVColor::getColorFrom(*hex).components;
    require(hex->size() == 7 && std::equal(parts.begin(), parts.end() - 1, again.begin()),
            "red, green and blue come back");
  }
  std::vector<double> any(std::min<std::size_t>(input.size() / sizeof(double), 5));
  if (!any.empty()) std::memcpy(any.data(), input.data(), any.size() * sizeof(double));
  require(ZVColor::getHexFrom({any}).has_value() == (any.size() > 1), "any components have a text");
}

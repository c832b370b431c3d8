#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// A colour as its components, each in 0 to 1: none (the default colour), grey and alpha, or red,
/// green, blue and alpha.
struct ZVColor {
  std::vector<double> components;

  bool operator==(const ZVColor&) const = default;

  /// Reads "#RRGGBB", "AARRGGBB" (alpha first) or "RGB"; what surrounds the digits is trimmed. A
  /// text whose start is not hexadecimal gives the default colour, and so does an empty text, also
  /// one that is empty after trimming ("#"). A number of another length gives opaque black.
  [[nodiscard]] ZAVELO_EXPORT static ZVColor getColorFrom(std::string_view hex);

  /// "#RRGGBB"; alpha is dropped. No value for the default colour.
  [[nodiscard]] ZAVELO_EXPORT static std::optional<std::string> getHexFrom(const ZVColor& color);
};

}  // namespace zavelo

#include "zavelo/core/color.hpp"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "zavelo/platform/unicode.hpp"

namespace zavelo {
namespace {

ZVColor colorOf(std::uint32_t alpha, std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return {{red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0}};
}

long channelOf(double component) {
  return std::lround(static_cast<float>(component) * 255.0f);
}

}  // namespace

ZVColor ZVColor::getColorFrom(std::string_view hex) {
  const std::string_view text = unicode::trimmedToAlphanumerics(hex);
  std::uint32_t v = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), v, 16);
  if (fault == std::errc::invalid_argument) return {};
  switch (unicode::characterCount(text)) {
    case 8:
      return colorOf(v >> 24, (v >> 16) & 255, (v >> 8) & 255, v & 255);
    case 6:
      return colorOf(255, v >> 16, (v >> 8) & 255, v & 255);
    case 3:
      return colorOf(255, (v >> 8) * 17, ((v >> 4) & 15) * 17, (v & 15) * 17);
    default:
      return colorOf(255, 0, 0, 0);
  }
}

std::optional<std::string> ZVColor::getHexFrom(const ZVColor& color) {
  const auto& parts = color.components;
  if (parts.size() < 2) return std::nullopt;
  const bool grey = parts.size() == 2;
  const long red = channelOf(parts[0]);
  const long green = channelOf(grey ? parts[0] : parts[1]);
  const long blue = channelOf(grey ? parts[0] : parts[2]);
  char text[64];
  std::snprintf(text, sizeof text, "#%02lX%02lX%02lX", static_cast<unsigned long>(red),
                static_cast<unsigned long>(green), static_cast<unsigned long>(blue));
  return text;
}

}  // namespace zavelo

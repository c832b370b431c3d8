#include "tools/zavelo/terminal/clock_text.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "zavelo/ui/timer_label.hpp"

namespace zavelo::command {
namespace {

constexpr double century = 100.0 * 366 * 24 * 60 * 60;
constexpr std::int64_t second = 1000;  // milliseconds

/// Digits with at most one point among them.
std::optional<double> decimalOf(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos) return {};
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

}  // namespace

std::string clockText(std::int64_t milliseconds) {
  return ZVTimerLabel::text(static_cast<double>(milliseconds / second),
                            ZVTimerLabel::TimeStyle::full);
}

std::optional<std::int64_t> millisecondsOf(std::string_view text) {
  double seconds = 0;
  for (int parts = 1; parts <= 3; ++parts) {
    const auto colon = text.find(':');
    const auto part = decimalOf(text.substr(0, colon));
    if (!part || seconds > century || *part > century) return {};
    seconds = seconds * 60 + *part;
    if (colon == std::string_view::npos && seconds <= century)
      return std::llround(seconds * static_cast<double>(second));
    text.remove_prefix(std::min(colon, text.size() - 1) + 1);
  }
  return {};
}

}  // namespace zavelo::command

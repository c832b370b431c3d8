#include "zavelo/core/log.hpp"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <locale>
#include <sstream>
#include <utility>

#include "zavelo/core/configuration.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo {
namespace {

constexpr std::array<std::pair<ZVLogEvent, std::string_view>, 6> tags{{
    {ZVLogEvent::e, "[\u203C\uFE0F]"},
    {ZVLogEvent::i, "[\u2139\uFE0F]"},
    {ZVLogEvent::d, "[\U0001F4AC]"},
    {ZVLogEvent::v, "[\U0001F52C]"},
    {ZVLogEvent::w, "[\u26A0\uFE0F]"},
    {ZVLogEvent::s, "[\U0001F525]"},
}};

/// "yyyy-MM-dd hh:mm:ssSSS" in local time: a clock of twelve hours without a marker, and the
/// milliseconds right behind the seconds.
std::string timestamp(std::chrono::system_clock::time_point now) {
  using namespace std::chrono;
  const auto milliseconds = floor<std::chrono::milliseconds>(now.time_since_epoch());
  const auto seconds = floor<std::chrono::seconds>(milliseconds);
  const std::time_t time = seconds.count();
  std::tm local{};
  localtime_r(&time, &local);
  const int hour = local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12;
  char text[64];
  const int size =
      std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d%03d", local.tm_year + 1900,
                    local.tm_mon + 1, local.tm_mday, hour, local.tm_min, local.tm_sec,
                    static_cast<int>((milliseconds - seconds).count()));
  return {text, static_cast<std::size_t>(size)};
}

std::string_view lastPathComponent(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string entry(ZVLogEvent event, std::string_view message, const ZVLogPosition& where) {
  const bool indented = event == ZVLogEvent::e || event == ZVLogEvent::d;
  const std::string_view indent = indented ? "    " : "";
  std::string text(indent);
  text += timestamp(platform::clock()->now());
  text.append("\n").append(indent).append(rawValue(event));
  text.append("[").append(lastPathComponent(where.filename)).append("]:");
  text.append(std::to_string(where.line)).append(" ").append(std::to_string(where.column));
  text.append(" ").append(where.funcName).append(" -> ").append(message);
  return text;
}

}  // namespace

std::string_view rawValue(ZVLogEvent event) noexcept {
  return tags[static_cast<std::size_t>(event)].second;
}

std::optional<ZVLogEvent> logEventFromRawValue(std::string_view raw) noexcept {
  for (const auto& [event, tag] : tags)
    if (tag == raw) return event;
  return std::nullopt;
}

namespace detail {

// The entry is made whole before the switch is read, so that a message costs and prints the same
// whenever the switch is turned.
void writeLog(ZVLogEvent event, std::string_view message, const ZVLogPosition& where) {
  std::string text = entry(event, message, where);
  if (configuration::enableLog()) platform::writeLog(std::move(text));
}

std::string streamedText(void (*print)(std::ostream&, const void*), const void* value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  print(out, value);
  return std::move(out).str();
}

}  // namespace detail
}  // namespace zavelo

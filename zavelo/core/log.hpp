#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "zavelo/base/export.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/base/source_location.hpp"

namespace zavelo {

/// The levels of the log.
enum class ZVLogEvent {
  e,  ///< error
  i,  ///< information
  d,  ///< debug
  v,  ///< verbose
  w,  ///< warning
  s,  ///< severe
};

/// The tag that opens an entry: "[‼️]" for e.
[[nodiscard]] ZAVELO_EXPORT std::string_view rawValue(ZVLogEvent event) noexcept;
[[nodiscard]] ZAVELO_EXPORT std::optional<ZVLogEvent> logEventFromRawValue(
    std::string_view raw) noexcept;

/// Where an entry was written.
struct ZVLogPosition {
  std::string_view filename;  ///< its last path component is shown
  std::uint_least32_t line = 0;
  std::uint_least32_t column = 0;
  std::string_view funcName;

  ZVLogPosition(std::string_view filename_, std::uint_least32_t line_, std::uint_least32_t column_,
                std::string_view funcName_)
      : filename(filename_), line(line_), column(column_), funcName(funcName_) {}
  /// The caller's own position under a function name of its choice.
  ZVLogPosition(std::string_view funcName_, const SourceLocation& here = SourceLocation::current())
      : ZVLogPosition(here.file_name(), here.line(), here.column(), funcName_) {}
  ZVLogPosition(const SourceLocation& here) : ZVLogPosition(here.function_name(), here) {}
};

namespace detail {
ZAVELO_EXPORT void writeLog(ZVLogEvent event, std::string_view message, const ZVLogPosition& where);
/// What `print` writes to a stream that knows no locale.
ZAVELO_EXPORT std::string streamedText(void (*print)(std::ostream&, const void*),
                                       const void* value);

template <class T>
std::string logText(const T& value) {
  if constexpr (std::convertible_to<const T&, std::string_view>) {
    return std::string(std::string_view(value));
  } else if constexpr (std::same_as<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::floating_point<T>) {
    return numberText(static_cast<double>(value));
  } else {
    return streamedText(
        [](std::ostream& out, const void* held) { out << *static_cast<const T*>(held); }, &value);
  }
}
}  // namespace detail

/// The library's diagnostics, one entry of two lines a call:
///
///     2026-01-31 03:04:05123
///     [ℹ️][sdk.cpp]:65 20 initWith(environment:enableLog:) -> ZaveloCore is initialized
///
/// Errors and debug entries are indented by four blanks. The message is anything that can be
/// printed; the position is the caller's own unless another is given. Entries go to the platform's
/// log sink while `enableLog` is on. Any thread.
class ZAVELO_EXPORT ZVLog {
 public:
  ZVLog() = delete;

  template <class Message>
  static void e(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::e, detail::logText(message), where);
  }
  template <class Message>
  static void i(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::i, detail::logText(message), where);
  }
  template <class Message>
  static void d(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::d, detail::logText(message), where);
  }
  template <class Message>
  static void v(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::v, detail::logText(message), where);
  }
  template <class Message>
  static void w(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::w, detail::logText(message), where);
  }
  template <class Message>
  static void s(const Message& message, ZVLogPosition where = SourceLocation::current()) {
    detail::writeLog(ZVLogEvent::s, detail::logText(message), where);
  }
};

}  // namespace zavelo

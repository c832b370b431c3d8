#pragma once

#include <cstdint>
#include <source_location>

namespace zavelo {

#ifdef __cpp_lib_source_location
using SourceLocation = std::source_location;
#else
/// The standard's, for a compiler whose library has it and cannot use it (clang before 15).
class SourceLocation {
 public:
  static constexpr SourceLocation current(
      const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
      std::uint_least32_t line = __builtin_LINE(),
      std::uint_least32_t column = __builtin_COLUMN()) noexcept {
    SourceLocation here;
    here.file_ = file;
    here.function_ = function;
    here.line_ = line;
    here.column_ = column;
    return here;
  }
  [[nodiscard]] constexpr const char* file_name() const noexcept { return file_; }
  [[nodiscard]] constexpr const char* function_name() const noexcept { return function_; }
  [[nodiscard]] constexpr std::uint_least32_t line() const noexcept { return line_; }
  [[nodiscard]] constexpr std::uint_least32_t column() const noexcept { return column_; }

 private:
  const char* file_ = "";
  const char* function_ = "";
  std::uint_least32_t line_ = 0;
  std::uint_least32_t column_ = 0;
};
#endif

}  // namespace zavelo

#pragma once

#include <cstdint>
#include <string>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// The text of a number as a person and a backend read it, whatever the process's locale: the
/// shortest digits that read back as the same value, always recognisable as a real ("10.0", "0.1",
/// "1e-05", "1e+17"; "inf", "-inf", and "nan" whatever its sign).
[[nodiscard]] ZAVELO_EXPORT std::string numberText(double value);
[[nodiscard]] ZAVELO_EXPORT std::string numberText(std::int64_t value);

/// The longest text of either.
inline constexpr std::size_t numberTextLimit = 32;

/// Writes the same text to `out`, which has room for numberTextLimit characters; returns its end.
char* writeNumberText(char* out, double value) noexcept;
char* writeNumberText(char* out, std::int64_t value) noexcept;

}  // namespace zavelo

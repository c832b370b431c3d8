#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zavelo::json::detail {

/// The integer that a JSON number says, however it is written ("10", "1.0e1"). No value when the
/// text is not a JSON number (RFC 8259 section 6), has a fraction, or does not fit in 64 bits.
/// Exact: a real in between would lose digits.
[[nodiscard]] std::optional<std::int64_t> exactInteger(std::string_view token) noexcept;

}  // namespace zavelo::json::detail

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zavelo::command {

/// Milliseconds as a person reads a position in a recording, "01:02:05".
[[nodiscard]] std::string clockText(std::int64_t milliseconds);

/// The milliseconds that a person means by "90", "1.5", "1:30" or "1:02:05"; none for anything
/// else, and for more than a century.
[[nodiscard]] std::optional<std::int64_t> millisecondsOf(std::string_view text);

}  // namespace zavelo::command

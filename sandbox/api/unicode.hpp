#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zavelo::sandbox {

[[nodiscard]] bool isUtf8(std::string_view text) noexcept;

/// The text with U+FFFD for every byte that is not UTF-8.
[[nodiscard]] std::string repaired(std::string_view text);

/// Code points in valid UTF-8.
[[nodiscard]] std::size_t characterCount(std::string_view text) noexcept;

/// The start of valid UTF-8, at most that many code points.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t most) noexcept;

/// What valid UTF-8 is compared by when case does not matter: normalised and case-folded
/// (NFKC_Casefold, Unicode Standard section 5.18).
[[nodiscard]] std::string caseFolded(std::string_view text);

}  // namespace zavelo::sandbox

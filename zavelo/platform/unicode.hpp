#pragma once

#include <cstddef>
#include <string_view>

#include "zavelo/base/export.hpp"

namespace zavelo::unicode {

/// The text without what stands around its first and last letter, mark or digit (general
/// categories L*, M* and N*). A byte that is not UTF-8 counts as none of them.
[[nodiscard]] ZAVELO_EXPORT std::string_view trimmedToAlphanumerics(std::string_view text);

/// User-perceived characters: extended grapheme clusters (Unicode Standard Annex 29).
[[nodiscard]] ZAVELO_EXPORT std::size_t characterCount(std::string_view text);

}  // namespace zavelo::unicode

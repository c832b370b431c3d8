#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/export.hpp"

/// Unicode on UTF-8. A byte that is not UTF-8 is a character of its own, neither letter nor
/// separator, one UTF-16 unit long; what makes a new text keeps it as it is.
namespace zavelo::unicode {

/// Whether every byte belongs to a code point (RFC 3629).
[[nodiscard]] ZAVELO_EXPORT bool isUtf8(std::string_view text);

/// The text without what stands around its first and last letter, mark or digit (general
/// categories L*, M* and N*).
[[nodiscard]] ZAVELO_EXPORT std::string_view trimmedToAlphanumerics(std::string_view text);

/// The texts between separators, empty ones too: at least one. A separator is a code point of
/// punctuation (general categories P*; symbols like "$" are none) or of white space and line breaks
/// (Z* and U+0009 to U+000D, U+0085).
[[nodiscard]] ZAVELO_EXPORT std::vector<std::string_view> splitAtPunctuationAndWhiteSpace(
    std::string_view text);

/// Full lower-casing, the same in every context and language: U+0130 gives two code points, a
/// capital sigma never the final one (the Unicode Standard 3.13, R2, without its conditional
/// rules).
[[nodiscard]] ZAVELO_EXPORT std::string lowercased(std::string_view text);

/// The canonical decomposition (NFD, Unicode Standard Annex 15): two texts are equal as Unicode
/// texts when the bytes of these are.
[[nodiscard]] ZAVELO_EXPORT std::string decomposed(std::string_view text);

/// Two texts are equal without regard to case when the bytes of these are: full case folding, "ß"
/// is "SS" (canonical caseless matching, the Unicode Standard 3.13, D145).
[[nodiscard]] ZAVELO_EXPORT std::string caseFolded(std::string_view text);

/// User-perceived characters: extended grapheme clusters (Unicode Standard Annex 29).
[[nodiscard]] ZAVELO_EXPORT std::size_t characterCount(std::string_view text);

/// The bytes of the first user-perceived character; 0 for an empty text.
[[nodiscard]] ZAVELO_EXPORT std::size_t firstCharacterSize(std::string_view text);

/// The text's length in UTF-16 units.
[[nodiscard]] ZAVELO_EXPORT std::size_t utf16Length(std::string_view text);

/// The bytes of the first `units` UTF-16 units; nothing when the text is shorter, or when that
/// would cut a code point in two.
[[nodiscard]] ZAVELO_EXPORT std::optional<std::size_t> utf16PrefixSize(std::string_view text,
                                                                       std::size_t units);

}  // namespace zavelo::unicode

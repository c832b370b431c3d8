#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "zavelo/core/attributed_string.hpp"
#include "zavelo/services/banned_words.hpp"

namespace zavelo {

/// Masks banned words in chat before it is shown or sent: those of `ZVUserService::shared()` at the
/// moment of the call, or a list of the app's own. Any thread; nothing fails. A line costs time in
/// its own length, however many words are banned.
///
///     banned: bad          plain text            text with attributes
///     "Bad day"            "*** day"             "*** day"
///     "bad!"               "bad!"                "***!"
///     "so bad, badly"      "so bad, badly"       "so ***, ***ly"
///
/// Texts are UTF-8 and compared as Unicode texts: canonically equivalent ones are equal. Bytes that
/// are not UTF-8 stay as they are.
///
/// Plain text: tokens stand between single blanks (U+0020) and keep their punctuation. One that
/// equals a banned word, both lower-cased, becomes "***", however long it was; so does a text that
/// equals one as a whole. An empty text stays empty; an empty token is masked by an empty word.
///
/// Text with attributes: words stand between punctuation and white space (symbols like "$" are
/// neither), and are looked up lower-cased among the banned words as they are, so that a banned
/// word with capitals never matches here. One that is found is then masked wherever it stands,
/// inside longer words too, without regard to case ("ß" is "SS"), but never a part of a
/// user-perceived character. Words go in the order of their list, each over what the masks of those
/// before it have left. The mask is one "*" for each user-perceived character of the word, and
/// carries the attributes at the first place that it covers.
struct ZAVELO_EXPORT ZVProfanityFilter {
  using AttributedText = std::shared_ptr<const ZVAttributedString>;

  /// Fetches the words from the backend. They hold from the moment the answer is there; a fetch
  /// that fails leaves the old ones.
  static void reloadProfaneWords();

  [[nodiscard]] static std::string censored(std::string_view text);
  static void censor(std::string& text);
  /// The very same object when no banned word is among the text's words.
  [[nodiscard]] static AttributedText censored(const AttributedText& text);

  [[nodiscard]] static std::string censored(std::string_view text, const ZVBannedWords& words);
  [[nodiscard]] static AttributedText censored(const AttributedText& text,
                                               const ZVBannedWords& words);
};

}  // namespace zavelo

#include "zavelo/services/banned_words.hpp"

#include <algorithm>

#include "zavelo/platform/unicode.hpp"

namespace zavelo {

void ZVBannedWords::prepare() const {
  meanings_.reserve(words_.size());
  for (std::size_t i = 0; i < words_.size(); ++i) {
    Meaning& asStored = meanings_[unicode::decomposed(words_[i])];
    if (!asStored.word) asStored.word = i;
    meanings_[unicode::decomposed(unicode::lowercased(words_[i]))].isLowercasedWord = true;
  }
  for (const auto& [key, meaning] : meanings_) longest_ = std::max(longest_, key.size());
}

const ZVBannedWords::Meaning* ZVBannedWords::meaningOfLowercased(std::string_view text) const {
  if (words_.empty()) return nullptr;
  std::call_once(prepared_, [this] { prepare(); });
  // No code point has more than four bytes, none becomes less than one.
  if (text.size() / 4 > longest_) return nullptr;
  const auto found = meanings_.find(unicode::decomposed(unicode::lowercased(text)));
  return found != meanings_.end() ? &found->second : nullptr;
}

bool ZVBannedWords::bans(std::string_view text) const {
  const Meaning* meaning = meaningOfLowercased(text);
  return meaning != nullptr && meaning->isLowercasedWord;
}

std::optional<std::size_t> ZVBannedWords::indexOfLowercased(std::string_view text) const {
  const Meaning* meaning = meaningOfLowercased(text);
  return meaning != nullptr ? meaning->word : std::nullopt;
}

}  // namespace zavelo

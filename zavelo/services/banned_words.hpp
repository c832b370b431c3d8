#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// A list of banned words, fixed and prepared for the profanity filter. The preparation is done
/// once, by the first question; after it a question costs time in the length of what is asked, not
/// in the number of words. Any thread.
///
/// Texts are equal here when they are canonically equivalent.
class ZAVELO_EXPORT ZVBannedWords {
 public:
  explicit ZVBannedWords(std::vector<std::string> words = {}) : words_(std::move(words)) {}
  ZVBannedWords(const ZVBannedWords&) = delete;
  ZVBannedWords& operator=(const ZVBannedWords&) = delete;

  [[nodiscard]] const std::vector<std::string>& words() const noexcept { return words_; }

  /// Whether a word and the text are equal, both lower-cased.
  [[nodiscard]] bool bans(std::string_view text) const;

  /// The first word that, as it stands in the list, equals the text lower-cased: a word with
  /// capitals never does.
  [[nodiscard]] std::optional<std::size_t> indexOfLowercased(std::string_view text) const;

 private:
  struct Meaning {
    bool isLowercasedWord = false;
    std::optional<std::size_t> word;  // whose own text it is
  };
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  const Meaning* meaningOfLowercased(std::string_view text) const;
  void prepare() const;

  const std::vector<std::string> words_;
  mutable std::once_flag prepared_;
  mutable std::size_t longest_ = 0;  // of the keys, in bytes
  mutable std::unordered_map<std::string, Meaning, Hash, std::equal_to<>> meanings_;
};

}  // namespace zavelo

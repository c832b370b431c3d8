#pragma once

#include <any>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// Font, colour, link: names and values are the app's own, the library carries them along unread.
using ZVTextAttributes = std::map<std::string, std::any>;

/// A stretch of a text, in UTF-16 units, as toolkits measure.
struct ZVTextRange {
  std::size_t location = 0;
  std::size_t length = 0;

  bool operator==(const ZVTextRange&) const = default;
};

/// A text (UTF-8) whose stretches carry attributes. To show it, an app goes through the runs and
/// gives its toolkit each run's attributes.
///
///     text   "so bad"
///     runs   {3, plain}, {3, red}
class ZAVELO_EXPORT ZVAttributedString {
 public:
  using Attributes = std::shared_ptr<const ZVTextAttributes>;  ///< null: none

  struct Run {
    std::size_t length;  ///< in UTF-16 units, not 0
    Attributes attributes;

    /// Of the very same attributes, not of equal ones.
    bool operator==(const Run&) const = default;
  };

  struct Replacement {
    ZVTextRange range;  ///< not empty
    std::string text;
  };

  ZVAttributedString() = default;
  explicit ZVAttributedString(std::string text, Attributes attributes = nullptr);

  [[nodiscard]] const std::string& text() const noexcept { return text_; }
  /// In UTF-16 units.
  [[nodiscard]] std::size_t length() const noexcept { return length_; }
  /// In the text's order, without gaps; no two neighbours share their attributes.
  [[nodiscard]] const std::vector<Run>& runs() const noexcept { return runs_; }

  /// `text` begins with a code point of its own, not in the midst of the last one.
  void append(std::string_view text, const Attributes& attributes = nullptr);
  /// Takes the place of the attributes that were there. False, and nothing happens, when the range
  /// reaches beyond the text.
  [[nodiscard]] bool setAttributes(ZVTextRange range, const Attributes& attributes);
  /// A new text; each replacement carries the attributes at the first unit of its range. Nothing
  /// when the ranges are not in ascending order, overlap, are empty, reach beyond the text or cut a
  /// code point in two.
  [[nodiscard]] std::optional<ZVAttributedString> replacing(
      const std::vector<Replacement>& replacements) const;

  bool operator==(const ZVAttributedString&) const = default;

 private:
  void appendRun(std::size_t length, const Attributes& attributes);

  std::string text_;
  std::size_t length_ = 0;
  std::vector<Run> runs_;
};

}  // namespace zavelo

#include <map>
#include <optional>

#include "zavelo/platform/unicode.hpp"
#include "zavelo/services/word_automaton_internal.hpp"
#include "zavelo/services/word_masking_internal.hpp"

namespace zavelo::detail {
namespace {

/// A text, case-folded character by character, with the places that belong together.
///
///     text     N  a  ï  v     characters 0 1 2 3, then the end
///     folded   n  a  i ¨  v
///
/// It is what folding the whole text gives: no mark is moved across a character's edge.
class FoldedText {
 public:
  explicit FoldedText(std::string_view text) : text_(text) {
    folded_.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
      starts_.push_back(at);
      const std::size_t size = unicode::firstCharacterSize(text.substr(at));
      folded_ += unicode::caseFolded(text.substr(at, size));
      characterAt_.resize(folded_.size(), inside);
      characterAt_.push_back(starts_.size());
      at += size;
    }
    starts_.push_back(text.size());
  }

  [[nodiscard]] const std::string& folded() const { return folded_; }
  [[nodiscard]] std::size_t characterCount() const { return starts_.size() - 1; }
  [[nodiscard]] std::size_t byteOf(std::size_t character) const { return starts_[character]; }
  [[nodiscard]] std::string_view character(std::size_t index) const {
    return text_.substr(byteOf(index), byteOf(index + 1) - byteOf(index));
  }
  /// Nothing for the inside of a character.
  [[nodiscard]] std::optional<std::size_t> characterAtFolded(std::size_t place) const {
    const std::size_t character = characterAt_[place];
    return character == inside ? std::nullopt : std::optional(character);
  }

 private:
  static constexpr std::size_t inside = static_cast<std::size_t>(-1);

  const std::string_view text_;
  std::string folded_;
  std::vector<std::size_t> starts_;          // of the characters, in the text
  std::vector<std::size_t> characterAt_{0};  // by the place in the folded text
};

/// Places of one word at equal distances. A line of one letter holds the words of that letter alone
/// nearly anywhere: that is one row for each of them.
struct Row {
  std::size_t word;
  std::size_t begin;  // of the first place, in characters
  std::size_t length;
  std::size_t step = 0;
  std::size_t count = 1;

  [[nodiscard]] bool extendTo(std::size_t place, std::size_t characters) {
    if (characters != length) return false;
    if (count == 1) step = place - begin;
    if (place != begin + count * step) return false;
    ++count;
    return true;
  }
};

/// The words' places word by word, each word's in the text's order.
std::vector<Row> rowsOf(const std::vector<std::string>& words, const FoldedText& text) {
  std::vector<std::string> folded;
  for (const auto& word : words) folded.push_back(unicode::caseFolded(word));
  std::vector<std::vector<Row>> rows(words.size());
  WordAutomaton(folded).search(text.folded(), [&](const WordAutomaton::Place& place) {
    const auto begin = text.characterAtFolded(place.begin);
    const auto end = text.characterAtFolded(place.end);
    if (!begin || !end) return;
    auto& ofWord = rows[place.word];
    if (ofWord.empty() || !ofWord.back().extendTo(*begin, *end - *begin))
      ofWord.push_back({place.word, *begin, *end - *begin});
  });
  std::vector<Row> all;
  for (const auto& ofWord : rows) all.insert(all.end(), ofWord.begin(), ofWord.end());
  return all;
}

/// What of a text is masked already. A mask joins no word to another, for no word that is searched
/// for holds an asterisk; it takes from later words what it covers, and a neighbour that has become
/// one character with it.
class Masks {
 public:
  explicit Masks(const FoldedText& text) : text_(text) {}

  void add(const Row& row) {
    for (std::size_t i = 0; i < row.count;) {
      const std::size_t begin = row.begin + i * row.step;
      const std::size_t end = begin + row.length;
      const std::size_t freeFrom = endOfTaken(begin, end);
      if (freeFrom <= begin) {
        taken_.emplace(begin, Taken{end, row.word});
        takeNeighbours(begin, end);
        ++i;
      } else {
        i += row.step == 0 ? 1 : (freeFrom - begin + row.step - 1) / row.step;
      }
    }
  }

  [[nodiscard]] std::vector<MaskedPlace> places() const {
    std::vector<MaskedPlace> places;
    for (const auto& [begin, taken] : taken_)
      if (taken.word) places.push_back({text_.byteOf(begin), text_.byteOf(taken.end), *taken.word});
    return places;
  }

 private:
  struct Taken {
    std::size_t end;
    std::optional<std::size_t> word;  // none: not masked
  };

  /// Where the last that is taken before `end` ends: up to `begin` when all between them is free.
  [[nodiscard]] std::size_t endOfTaken(std::size_t begin, std::size_t end) const {
    const auto behind = taken_.lower_bound(end);
    return behind == taken_.begin() ? begin : std::prev(behind)->second.end;
  }

  // A word may end with a control character, which kept a mark behind it apart, or begin with one,
  // which kept a prefix sign apart.
  void takeNeighbours(std::size_t begin, std::size_t end) {
    if (end < text_.characterCount()) takeJoined(end, "*" + std::string(text_.character(end)));
    if (begin > 0) takeJoined(begin - 1, std::string(text_.character(begin - 1)) + "*");
  }

  void takeJoined(std::size_t character, const std::string& withMask) {
    if (unicode::firstCharacterSize(withMask) == withMask.size() &&
        endOfTaken(character, character + 1) <= character)
      taken_.emplace(character, Taken{character + 1, std::nullopt});
  }

  const FoldedText& text_;
  std::map<std::size_t, Taken> taken_;  // by the first character
};

}  // namespace

std::vector<MaskedPlace> maskedPlaces(std::string_view text,
                                      const std::vector<std::string>& words) {
  const FoldedText folded(text);
  Masks masks(folded);
  for (const Row& row : rowsOf(words, folded)) masks.add(row);
  return masks.places();
}

}  // namespace zavelo::detail

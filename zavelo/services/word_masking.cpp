#include <algorithm>
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
      starts_.push_back({at, folded_.size()});
      const std::size_t size = unicode::firstCharacterSize(text.substr(at));
      folded_ += unicode::caseFolded(text.substr(at, size));
      at += size;
    }
    starts_.push_back({text.size(), folded_.size()});
  }

  [[nodiscard]] const std::string& folded() const { return folded_; }
  [[nodiscard]] std::size_t characterCount() const { return starts_.size() - 1; }
  [[nodiscard]] std::size_t byteOf(std::size_t character) const { return starts_[character].text; }
  [[nodiscard]] std::string_view character(std::size_t index) const {
    return text_.substr(byteOf(index), byteOf(index + 1) - byteOf(index));
  }
  /// Nothing for the inside of a character.
  [[nodiscard]] std::optional<std::size_t> characterAtFolded(std::size_t place) const {
    const auto at = std::ranges::lower_bound(starts_, place, {}, &Start::folded);
    if (at->folded != place) return std::nullopt;
    return static_cast<std::size_t>(at - starts_.begin());
  }

 private:
  struct Start {
    std::size_t text;
    std::size_t folded;
  };

  const std::string_view text_;
  std::string folded_;
  std::vector<Start> starts_;
};

struct Place {
  std::size_t word;
  std::size_t begin;  // in characters
  std::size_t end;
};

std::vector<Place> placesOf(const std::vector<std::string>& words, const FoldedText& text) {
  std::vector<std::string> folded;
  for (const auto& word : words) folded.push_back(unicode::caseFolded(word));
  std::vector<Place> places;
  WordAutomaton(folded).search(text.folded(), [&](const WordAutomaton::Place& place) {
    const auto begin = text.characterAtFolded(place.begin);
    const auto end = text.characterAtFolded(place.end);
    if (begin && end) places.push_back({place.word, *begin, *end});
  });
  return places;
}

/// What of a text is masked already. A mask joins no word to another, for no word that is searched
/// for holds an asterisk; it takes from later words what it covers, and a neighbour that has become
/// one character with it.
class Masks {
 public:
  explicit Masks(const FoldedText& text) : text_(text) {}

  void add(const Place& place) {
    if (!isFree(place.begin, place.end)) return;
    taken_.emplace(place.begin, Taken{place.end, place.word});
    takeNeighbours(place);
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

  [[nodiscard]] bool isFree(std::size_t begin, std::size_t end) const {
    const auto behind = taken_.lower_bound(end);
    return behind == taken_.begin() || std::prev(behind)->second.end <= begin;
  }

  // A word may end with a control character, which kept a mark behind it apart, or begin with one,
  // which kept a prefix sign apart.
  void takeNeighbours(const Place& place) {
    if (place.end < text_.characterCount())
      takeJoined(place.end, "*" + std::string(text_.character(place.end)));
    if (place.begin > 0)
      takeJoined(place.begin - 1, std::string(text_.character(place.begin - 1)) + "*");
  }

  void takeJoined(std::size_t character, const std::string& withMask) {
    if (unicode::firstCharacterSize(withMask) == withMask.size() &&
        isFree(character, character + 1))
      taken_.emplace(character, Taken{character + 1, std::nullopt});
  }

  const FoldedText& text_;
  std::map<std::size_t, Taken> taken_;  // by the first character
};

}  // namespace

std::vector<MaskedPlace> maskedPlaces(std::string_view text,
                                      const std::vector<std::string>& words) {
  const FoldedText folded(text);
  auto places = placesOf(words, folded);
  // Those of one word stay in the text's order, for they are equally long.
  std::ranges::stable_sort(places, {}, &Place::word);
  Masks masks(folded);
  for (const Place& place : places) masks.add(place);
  return masks.places();
}

}  // namespace zavelo::detail

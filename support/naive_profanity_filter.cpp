#include "support/naive_profanity_filter.hpp"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "zavelo/platform/unicode.hpp"

namespace zavelo::test {
namespace {

/// Bytes of a text.
struct Range {
  std::size_t begin;
  std::size_t end;
};

std::vector<std::size_t> characterEdges(std::string_view text) {
  std::vector<std::size_t> edges{0};
  while (edges.back() < text.size())
    edges.push_back(edges.back() + unicode::firstCharacterSize(text.substr(edges.back())));
  return edges;
}

/// The first place, from one character's edge to another's, that equals the word without regard to
/// case.
std::optional<Range> find(std::string_view text, std::string_view word) {
  const std::string wanted = unicode::caseFolded(word);
  const auto edges = characterEdges(text);
  for (auto begin = edges.begin(); begin != edges.end() && !wanted.empty(); ++begin)
    for (auto end = begin + 1; end < edges.end(); ++end) {
      const std::string folded = unicode::caseFolded(text.substr(*begin, *end - *begin));
      if (folded == wanted) return Range{*begin, *end};
      if (folded.size() >= wanted.size()) break;
    }
  return std::nullopt;
}

bool isBanned(std::string_view text, const std::vector<std::string>& words) {
  const std::string wanted = unicode::decomposed(unicode::lowercased(text));
  return std::ranges::any_of(words, [&](const std::string& word) {
    return unicode::decomposed(unicode::lowercased(word)) == wanted;
  });
}

}  // namespace

std::string naivelyCensored(std::string_view text, const std::vector<std::string>& words) {
  if (isBanned(text, words)) {
    std::string masked;
    std::string_view rest = text;
    while (const auto place = find(rest, text)) {
      masked += std::string(rest.substr(0, place->begin)) + "***";
      rest.remove_prefix(place->end);
    }
    return masked + std::string(rest);
  }
  std::string joined;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const auto token = text.substr(begin, end - begin);
    joined += isBanned(token, words) ? "***" : std::string(token);
    if (end < text.size()) joined += ' ';
    begin = end + 1;
  }
  return joined;
}

std::shared_ptr<const ZVAttributedString> naivelyCensored(
    const std::shared_ptr<const ZVAttributedString>& text, const std::vector<std::string>& words) {
  std::unordered_set<std::string> pieces;
  const std::string lower = unicode::lowercased(text->text());
  for (const auto piece : unicode::splitAtPunctuationAndWhiteSpace(lower))
    pieces.insert(unicode::decomposed(piece));
  auto masked = text;
  for (const std::string& word : words) {
    if (pieces.erase(unicode::decomposed(word)) == 0) continue;
    if (masked == text) masked = std::make_shared<const ZVAttributedString>(*text);
    const std::string mask(unicode::characterCount(word), '*');
    while (const auto place = find(masked->text(), word)) {
      const std::string_view all = masked->text();
      const ZVTextRange range{
          unicode::utf16Length(all.substr(0, place->begin)),
          unicode::utf16Length(all.substr(place->begin, place->end - place->begin))};
      masked =
          std::make_shared<const ZVAttributedString>(masked->replacing({{range, mask}}).value());
    }
  }
  return masked;
}

}  // namespace zavelo::test

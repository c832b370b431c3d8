#include "sandbox/streams/plain_text.hpp"

#include <array>
#include <utility>

namespace zavelo::sandbox {
namespace {

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// The length of the tag that the text begins with; 0 when it does not.
std::size_t tagLength(std::string_view text) {
  const std::size_t name = text.starts_with("</") ? 2 : 1;
  if (!text.starts_with('<') || name >= text.size() || !isLetter(text[name])) return 0;
  const auto end = text.find('>');
  return end == std::string_view::npos ? 0 : end + 1;
}

}  // namespace

std::string plainText(std::string_view markup) {
  constexpr std::array<std::pair<std::string_view, char>, 5> entities{
      {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}}};
  std::string plain;
  while (!markup.empty()) {
    std::size_t length = tagLength(markup);
    if (length == 0) {
      char next = markup.front();
      length = 1;
      for (const auto& [entity, character] : entities) {
        if (!markup.starts_with(entity)) continue;
        next = character;
        length = entity.size();
      }
      plain += next;
    }
    markup.remove_prefix(length);
  }
  return plain;
}

}  // namespace zavelo::sandbox

#include "zavelo/services/profanity_filter.hpp"

#include <array>
#include <vector>

#include "fuzz/fuzz.hpp"
#include "support/naive_profanity_filter.hpp"

// The filter against its rules done step by step. The first byte is the number of banned words;
// each is a line, and what follows is the text.

void zavelo::fuzz::run(std::string_view input) {
  constexpr std::size_t longest = 600;  // of what the slow filter is asked
  if (input.size() > longest) return;
  std::vector<std::string> words(takeByte(input) % 8);
  for (auto& word : words) word = takeLine(input);
  const ZVBannedWords banned(words);
  require(ZVProfanityFilter::censored(input, banned) == test::naivelyCensored(input, words),
          "plain text is masked by the rules");

  const std::array<ZVAttributedString::Attributes, 3> kinds = {
      nullptr, std::make_shared<const ZVTextAttributes>(),
      std::make_shared<const ZVTextAttributes>()};
  ZVAttributedString marked{std::string(input)};
  for (std::size_t at = 0; at < marked.length(); ++at)
    static_cast<void>(marked.setAttributes({at, 1}, kinds[at / 2 % kinds.size()]));
  const auto text = std::make_shared<const ZVAttributedString>(std::move(marked));
  const auto masked = ZVProfanityFilter::censored(text, banned);
  const auto wanted = test::naivelyCensored(text, words);
  require(*masked == *wanted, "text with attributes is masked by the rules");
  require((masked == text) == (wanted == text), "text without a banned word is the same object");
}

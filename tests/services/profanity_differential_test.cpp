#include <gtest/gtest.h>

#include <array>
#include <random>

#include "support/naive_profanity_filter.hpp"
#include "zavelo/services/profanity_filter.hpp"

// The filter against the same rules done step by step, on lines that are made to be hard.

namespace zavelo {
namespace {

#ifdef ZAVELO_SLOW_BUILD
constexpr int lists = 100;
#else
constexpr int lists = 750;
#endif
constexpr int linesOfAList = 100;

// What a line is made of: few letters, so that words overlap and stand inside each other, and what
// behaves oddly in case, order, decomposition or as part of a character.
constexpr std::array parts = {"a",      "a",      "b",        "b",
                              "A",      "B",      "s",        "S",
                              "i",      "I",      "\u0130",   "\u0131",
                              "k",      "\u212A", "ß",        "\u1E9E",
                              "ss",     "\uFB01", "fi",       "σ",
                              "ς",      "Σ",      "α",        "\u0345",
                              "\u1FB4", "\u1FBC", "\u00E9",   "e\u0301",
                              "E",      "\u0301", "\u0323",   "\u0344",
                              "\u1EAD", "д",      "Д",        "й",
                              "한",     "\u1112", "\u1161",   "\u11AB",
                              "字",     "で",     "か\u3099", "\u05D0\u05B0",
                              "\u0628", "\u0600", "क\u094D",  "ष",
                              "\u093F", "🙂",   "👩",        "👍",
                              "🏽",   "\u200D", "🇩",        "🇪",
                              "𐐀",      "𐐨",      "Ა",      "ა",
                              "\u200B", "\u00AD", "\u0001",   "$",
                              "^",      "\xFF",   "\xC3"};
constexpr std::array separators = {" ",  " ", " ", "  ", ",",      "!",      "*",      "**",
                                   "\t", "_", "-", "\n", "\u00A0", "\u3002", "\u2028", "\r\n"};

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  std::string word() {
    std::string word;
    for (auto left = below(5); left > 0; --left) word += parts[below(parts.size())];
    if (below(20) == 0) word += separators[below(separators.size())];
    return word;
  }

  std::vector<std::string> words() {
    std::vector<std::string> words;
    for (auto left = below(8); left > 0; --left) words.push_back(word());
    return words;
  }

  std::string line(const std::vector<std::string>& words) {
    std::string line;
    for (auto left = below(6); left > 0; --left) {
      line += below(2) == 0 && !words.empty() ? words[below(words.size())] : word();
      if (below(4) != 0) line += separators[below(separators.size())];
    }
    return line;
  }

  std::shared_ptr<const ZVAttributedString> attributed(const std::string& line) {
    static const std::array<ZVAttributedString::Attributes, 3> kinds = {
        nullptr, std::make_shared<const ZVTextAttributes>(),
        std::make_shared<const ZVTextAttributes>()};
    ZVAttributedString text(line);
    for (std::size_t at = 0; at < text.length(); at += 1 + below(3))
      static_cast<void>(text.setAttributes({at, 1}, kinds[below(kinds.size())]));
    return std::make_shared<const ZVAttributedString>(std::move(text));
  }

 private:
  std::size_t below(std::size_t end) { return random_() % end; }

  std::mt19937 random_;
};

class ProfanityFilterDifferential : public testing::TestWithParam<unsigned> {};

TEST_P(ProfanityFilterDifferential, GivesWhatTheRulesDoneStepByStepGive) {
  Generator generator(GetParam());
  int masked = 0;
  for (int list = 0; list < lists; ++list) {
    const auto words = generator.words();
    const ZVBannedWords banned(words);
    for (int i = 0; i < linesOfAList; ++i) {
      const auto line = generator.line(words);
      ASSERT_EQ(ZVProfanityFilter::censored(line, banned), test::naivelyCensored(line, words))
          << testing::PrintToString(line) << " " << testing::PrintToString(words);
      const auto text = generator.attributed(line);
      const auto got = ZVProfanityFilter::censored(text, banned);
      const auto wanted = test::naivelyCensored(text, words);
      ASSERT_EQ(got->text(), wanted->text())
          << testing::PrintToString(line) << " " << testing::PrintToString(words);
      ASSERT_TRUE(*got == *wanted) << "other attributes: " << testing::PrintToString(line);
      ASSERT_EQ(got == text, wanted == text) << testing::PrintToString(line);
      if (got->text() != line) ++masked;
    }
  }
  EXPECT_GT(masked, lists * linesOfAList / 8);  // the lines are worth the time
}

INSTANTIATE_TEST_SUITE_P(Seeds, ProfanityFilterDifferential, testing::Range(1U, 5U));

}  // namespace
}  // namespace zavelo

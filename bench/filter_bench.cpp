#include <benchmark/benchmark.h>

#include <optional>
#include <random>
#include <stdexcept>

#include "support/naive_profanity_filter.hpp"
#include "zavelo/services/profanity_filter.hpp"

namespace zavelo::bench {
namespace {

using AttributedText = ZVProfanityFilter::AttributedText;

/// A word of two to four syllables, every fourth one in Cyrillic.
std::string someWord(std::mt19937& random) {
  static const char* const latin[] = {"ba", "ke", "lo",  "mi",  "nu",
                                      "ra", "so", "tev", "zin", "qua"};
  static const char* const cyrillic[] = {"ба", "ке", "ло", "ми", "ну", "ра", "со", "тев", "зин"};
  const bool isCyrillic = random() % 4 == 0;
  std::string word;
  for (auto left = 2 + random() % 3; left > 0; --left)
    word +=
        isCyrillic ? cyrillic[random() % std::size(cyrillic)] : latin[random() % std::size(latin)];
  return word;
}

/// Banned words, and chat of which one word in forty is banned.
struct Chat {
  explicit Chat(std::size_t wordCount) {
    std::mt19937 random(7);  // NOLINT: the same chat every time
    for (std::size_t i = 0; i < wordCount; ++i) words.push_back(someWord(random) + "x");
    banned.emplace(words);
    for (int i = 0; i < 20; ++i) {
      std::string line = "@ann: ";
      for (auto left = 4 + random() % 10; left > 0; --left)
        line += (random() % 40 == 0 ? words[random() % wordCount] : someWord(random)) + " ";
      lines.push_back(line + (random() % 3 == 0 ? "🙂👍🏽" : "!"));
      attributedLines.push_back(std::make_shared<const ZVAttributedString>(lines.back()));
    }
  }
  std::vector<std::string> words;
  std::optional<ZVBannedWords> banned;  // the same words, prepared
  std::vector<std::string> lines;
  std::vector<AttributedText> attributedLines;
};

// What gives something else is not measured.
void check(const Chat& chat) {
  for (const auto& line : chat.lines)
    if (ZVProfanityFilter::censored(line, *chat.banned) != test::naivelyCensored(line, chat.words))
      throw std::logic_error("the filter masks something else in " + line);
  for (const auto& line : chat.attributedLines)
    if (*ZVProfanityFilter::censored(line, *chat.banned) !=
        *test::naivelyCensored(line, chat.words))
      throw std::logic_error("the filter masks something else in " + line->text());
}

template <class Lines, class Censor>
auto measure(const std::string& name, const Lines& lines, Censor censor) {
  return benchmark::RegisterBenchmark(name.c_str(), [&lines, censor](benchmark::State& state) {
    for (auto _ : state)
      for (const auto& line : lines) benchmark::DoNotOptimize(censor(line));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines.size()));
  });
}

template <class Lines>
void compare(const std::string& what, const Lines& lines, const Chat& chat) {
  const std::string group =
      "censor 20 lines" + what + ", " + std::to_string(chat.words.size()) + " words/";
  measure(group + "ZaveloCore", lines,
          [&chat](const auto& line) { return ZVProfanityFilter::censored(line, *chat.banned); });
  measure(group + "step by step", lines, [&chat](const auto& line) {
    return test::naivelyCensored(line, chat.words);
  })->Repetitions(3);  // it takes its time
}

void prepare(benchmark::State& state, const Chat& chat) {
  for (auto _ : state) {
    const ZVBannedWords banned(chat.words);
    benchmark::DoNotOptimize(banned.bans("ann"));
  }
}

void compareWith(const Chat& chat) {
  check(chat);
  compare("", chat.lines, chat);
  compare(" with attributes", chat.attributedLines, chat);
  benchmark::RegisterBenchmark(
      ("prepare banned words/" + std::to_string(chat.words.size())).c_str(),
      [&chat](benchmark::State& state) { prepare(state, chat); });
}

const bool registered = [] {
  static const Chat few(100);
  static const Chat many(10'000);
  for (const Chat* chat : {&few, &many}) compareWith(*chat);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

#include "zavelo/services/profanity_filter.hpp"

#include <gmock/gmock.h>

namespace zavelo {
namespace {

using testing::ElementsAre;
using Attributes = ZVAttributedString::Attributes;
using Stretch = ZVAttributedString::Run;
using Words = std::vector<std::string>;

std::string plain(std::string_view text, const Words& words) {
  return ZVProfanityFilter::censored(text, ZVBannedWords(words));
}

std::string attributed(std::string text, const Words& words) {
  return ZVProfanityFilter::censored(std::make_shared<const ZVAttributedString>(std::move(text)),
                                     ZVBannedWords(words))
      ->text();
}

TEST(PlainProfanityFilter, MasksTokensBetweenSingleBlanks) {
  EXPECT_EQ(plain("Bad day", {"bad"}), "*** day");
  EXPECT_EQ(plain("bad! a\tbad", {"bad"}), "bad! a\tbad");
  EXPECT_EQ(plain(" a  bad ", {"bad"}), " a  *** ");
  EXPECT_EQ(plain("a longword", {"longword"}), "a ***");
  EXPECT_EQ(plain("bad", {}), "bad");
}

TEST(PlainProfanityFilter, MasksATextThatIsAWordWithBlanks) {
  EXPECT_EQ(plain("BAD Day", {"bad day"}), "***");
  EXPECT_EQ(plain("a BAD Day", {"bad day"}), "a BAD Day");
}

TEST(PlainProfanityFilter, ComparesAsUnicodeTextsInLowerCase) {
  EXPECT_EQ(plain("a BA\u0300D", {"b\u00E0d"}), "a ***");
  EXPECT_EQ(plain("a I\u0307z \u0130Z iz", {"\u0130z"}), "a *** *** iz");
  EXPECT_EQ(plain("a STRASSE stra\u1E9Ee", {"straße"}), "a STRASSE ***");
  EXPECT_EQ(plain("a ΟΔΟΣ οδος", {"οδοσ"}), "a *** οδος");
}

TEST(PlainProfanityFilter, TakesAnEmptyWordForAnEmptyToken) {
  EXPECT_EQ(plain("a  b", {""}), "a *** b");
  EXPECT_EQ(plain("", {""}), "");
}

TEST(AttributedProfanityFilter, MasksAWordThatStandsAloneEverywhere) {
  EXPECT_EQ(attributed("so bad, badly", {"bad"}), "so ***, ***ly");
  EXPECT_EQ(attributed("so badly", {"bad"}), "so badly");
  EXPECT_EQ(attributed("so $bad bad+", {"bad"}), "so $bad bad+");
  EXPECT_EQ(attributed("BAD!bad", {"bad"}), "***!***");
  EXPECT_EQ(attributed("a longword", {"longword"}), "a ********");
}

TEST(AttributedProfanityFilter, NeverMatchesAWordWithCapitals) {
  EXPECT_EQ(attributed("bad BAD Bad", {"Bad"}), "bad BAD Bad");
  EXPECT_EQ(plain("bad BAD Bad", {"Bad"}), "*** *** ***");
}

TEST(AttributedProfanityFilter, CarriesTheAttributesOfWhatItMasks) {
  const auto red = std::make_shared<const ZVTextAttributes>();
  const auto blue = std::make_shared<const ZVTextAttributes>();
  ZVAttributedString text("so ");
  text.append("ba", red);
  text.append("d", blue);
  text.append(", ");
  text.append("badly", blue);
  const auto masked = ZVProfanityFilter::censored(std::make_shared<const ZVAttributedString>(text),
                                                  ZVBannedWords({"bad"}));
  EXPECT_EQ(masked->text(), "so ***, ***ly");
  EXPECT_THAT(masked->runs(), ElementsAre(Stretch{3, nullptr}, Stretch{3, red}, Stretch{2, nullptr},
                                          Stretch{5, blue}));
}

TEST(AttributedProfanityFilter, GivesBackTheVerySameObjectWhenNothingMatches) {
  const auto text = std::make_shared<const ZVAttributedString>("so good");
  EXPECT_EQ(ZVProfanityFilter::censored(text, ZVBannedWords({"bad"})), text);
  EXPECT_EQ(ZVProfanityFilter::censored(text, ZVBannedWords()), text);
  EXPECT_EQ(
      ZVProfanityFilter::censored(ZVProfanityFilter::AttributedText(), ZVBannedWords({"bad"})),
      nullptr);
}

TEST(AttributedProfanityFilter, PadsByUserPerceivedCharacters) {
  EXPECT_EQ(attributed("a 👨\u200D👩\u200D👧🇩🇪!", {"👨\u200D👩\u200D👧🇩🇪"}), "a **!");
  EXPECT_EQ(attributed("a e\u0301t\u00E9", {"\u00E9te\u0301"}), "a ***");
}

TEST(AttributedProfanityFilter, LeavesCharactersWhole) {
  EXPECT_EQ(attributed("cafe cafe\u0301", {"cafe"}), "**** cafe\u0301");
  EXPECT_EQ(attributed("s, ß", {"s"}), "*, ß");
  EXPECT_EQ(attributed("strasse, STRAẞE", {"strasse"}), "*******, *******");
}

TEST(AttributedProfanityFilter, GoesByTheListWhereWordsOverlap) {
  EXPECT_EQ(attributed("abc bcd abcd", {"bcd", "abc"}), "*** *** a***");
  EXPECT_EQ(attributed("abc bcd abcd", {"abc", "bcd"}), "*** *** ***d");
}

TEST(ProfanityFilter, KeepsBytesThatAreNoText) {
  EXPECT_EQ(plain("\xFF bad \xC3", {"bad"}), "\xFF *** \xC3");
  EXPECT_EQ(attributed(std::string("\xFF bad \xC3\0bad", 11), {"bad"}),
            std::string("\xFF *** \xC3\0***", 11));
}

TEST(ProfanityFilter, MasksAMegabyteFullOfManyWords) {
  Words words;
  std::string text;
  std::string masks;
  for (int i = 0; i < 10'000; ++i) words.push_back("w" + std::to_string(1'000'000 + i));
  for (int i = 0; i < 110'000; ++i) {
    text += words[static_cast<std::size_t>(i % 10'000)] + ",";
    masks += "********,";
  }
  EXPECT_EQ(attributed(text, words), masks);
  EXPECT_EQ(plain(text, words), text);
}

}  // namespace
}  // namespace zavelo

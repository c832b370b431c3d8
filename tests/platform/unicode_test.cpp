#include "zavelo/platform/unicode.hpp"

#include <gmock/gmock.h>

namespace zavelo::unicode {
namespace {

using testing::ElementsAre;

TEST(Unicode, LowercasesFullyAndWithoutContext) {
  EXPECT_EQ(lowercased("Ann İz ÀΣ ẞ ß Ⴀ 𐐀"), "ann i\u0307z àσ ß ß ⴀ 𐐨");
  EXPECT_EQ(lowercased("\xFF"
                       "A\xC3"),
            "\xFF"
            "a\xC3");
}

TEST(Unicode, DecomposesCanonicallyEquivalentTextsAlike) {
  EXPECT_EQ(decomposed("\u1EAD"), "a\u0323\u0302");
  EXPECT_EQ(decomposed("a\u0302\u0323"), "a\u0323\u0302");
  EXPECT_EQ(decomposed("\uD55C"), "\u1112\u1161\u11AB");
  EXPECT_EQ(decomposed("\u212B"), decomposed("Å"));
  EXPECT_NE(decomposed("ﬁ"), decomposed("fi"));  // compatible, not canonical
  EXPECT_EQ(decomposed("\u0301\xFF\u0323\u0301"), "\u0301\xFF\u0323\u0301");
}

TEST(Unicode, SortsALongRunOfMarksAtOnce) {
  std::string marks = "a";
  std::string sorted;
  for (int i = 0; i < 250'000; ++i) {
    marks += "\u0301\u0323";
    sorted += "\u0301";
  }
  EXPECT_TRUE(decomposed(marks).ends_with("\u0323" + sorted));
}

TEST(Unicode, FoldsCaseCanonically) {
  EXPECT_EQ(caseFolded("Straße"), caseFolded("STRASSE"));
  EXPECT_EQ(caseFolded("ΌΔΟΣ"), caseFolded("ο\u0301δος"));
  EXPECT_EQ(caseFolded("İ"), "i\u0307");
  EXPECT_EQ(caseFolded("α\u0345\u0301"), caseFolded("\u1FB4"));
  EXPECT_EQ(caseFolded("\uFB01"), "fi");
  EXPECT_NE(caseFolded("é"), caseFolded("e"));
}

TEST(Unicode, SplitsAtPunctuationAndWhiteSpaceButNotAtSymbols) {
  EXPECT_THAT(splitAtPunctuationAndWhiteSpace("a$b+c|d^e~f`g"), ElementsAre("a$b+c|d^e~f`g"));
  EXPECT_THAT(splitAtPunctuationAndWhiteSpace("a_b\u3002c\u00A0d\te\u0085f\u2028g"),
              ElementsAre("a", "b", "c", "d", "e", "f", "g"));
  EXPECT_THAT(splitAtPunctuationAndWhiteSpace("*\u200B\xFF"), ElementsAre("", "\u200B\xFF"));
}

TEST(Unicode, CountsCharactersAsPeopleDo) {
  EXPECT_EQ(characterCount("e\u0301\r\n한\u1112\u1161\u11AB"), 4U);
  EXPECT_EQ(characterCount("👨\u200D👩\u200D👧🇩🇪🇫🇷👍🏽"), 4U);
  EXPECT_EQ(firstCharacterSize("\u200D👩"), 3U);
  EXPECT_EQ(characterCount("a\xFF\u0301"), 3U);
}

TEST(Unicode, MeasuresInUtf16Units) {
  EXPECT_EQ(utf16Length("aé한🙂\xFF"), 6U);
  EXPECT_EQ(utf16PrefixSize("é🙂a", 3), 6U);
  EXPECT_EQ(utf16PrefixSize("é🙂a", 2), std::nullopt);
  EXPECT_EQ(utf16PrefixSize("é🙂a", 5), std::nullopt);
}

}  // namespace
}  // namespace zavelo::unicode

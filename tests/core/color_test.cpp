#include "zavelo/core/color.hpp"

#include <gtest/gtest.h>

#include "zavelo/core/random_item.hpp"

namespace zavelo {
namespace {

ZVColor rgba(int red, int green, int blue, int alpha) {
  return {{red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0}};
}

TEST(ColorFromHex, ChoosesTheChannelsByTheNumberOfDigits) {
  const auto red = rgba(255, 0, 0, 255);
  for (const char* text : {"#FF0000", "FF0000", " ff0000 ", "#F00", "(#f00)"})
    EXPECT_EQ(ZVColor::getColorFrom(text), red) << text;
  EXPECT_EQ(ZVColor::getColorFrom("80FF0000"), rgba(255, 0, 0, 128));
  EXPECT_EQ(ZVColor::getColorFrom("FF000080"), rgba(0, 0, 128, 255));
  EXPECT_EQ(ZVColor::getColorFrom("#12345"), rgba(0, 0, 0, 255));
  EXPECT_EQ(ZVColor::getColorFrom("FFFFFFFFFF"), rgba(0, 0, 0, 255));
  EXPECT_EQ(ZVColor::getColorFrom("12GG34"), rgba(0, 0, 18, 255));
}

TEST(ColorFromHex, WithoutANumberIsTheDefaultColour) {
  for (const char* text : {"", "###", "#GG0000", "zebra", "\xff"})
    EXPECT_EQ(ZVColor::getColorFrom(text), ZVColor()) << text;
}

TEST(ColorFromHex, CountsLettersAndCharactersAsAPersonSeesThem) {
  EXPECT_EQ(ZVColor::getColorFrom("\u00ABFF0000\u00BB"), rgba(255, 0, 0, 255));
  EXPECT_EQ(ZVColor::getColorFrom("FF0000\u00E9"), rgba(0, 0, 0, 255)) << "seven characters";
  EXPECT_EQ(ZVColor::getColorFrom("F0e\u0301"), rgba(255, 0, 238, 255))
      << "a letter and its accent are one character";
}

TEST(HexFromColor, RoundsHalfAwayFromNoughtAndDropsAlpha) {
  EXPECT_EQ(ZVColor::getHexFrom({{0.5, 1.0}}), "#808080");
  EXPECT_EQ(ZVColor::getHexFrom({{1.0, 0.5, 0.0, 0.25}}), "#FF8000");
  EXPECT_EQ(ZVColor::getHexFrom({}), std::nullopt);
}

TEST(RandomItem, ReachesEveryElementAndNothingElse) {
  EXPECT_EQ(randomItem(std::vector<int>{}), std::nullopt);
  const std::vector<int> list{1, 2, 3};
  int seen = 0;
  for (int i = 0; i < 500 && seen != 0b1110; ++i) seen |= 1 << *randomItem(list);
  EXPECT_EQ(seen, 0b1110);
}

}  // namespace
}  // namespace zavelo

#include "zavelo/core/attributed_string.hpp"

#include <gmock/gmock.h>

namespace zavelo {
namespace {

using testing::ElementsAre;
using Attributes = ZVAttributedString::Attributes;
using Stretch = ZVAttributedString::Run;

Attributes coloured(std::string colour) {
  return std::make_shared<const ZVTextAttributes>(
      ZVTextAttributes{{"colour", std::any(std::move(colour))}});
}

TEST(AttributedString, KeepsRunsInUtf16UnitsAndJoinsNeighboursOfTheSameAttributes) {
  const auto red = coloured("red");
  ZVAttributedString text("so 🙂");
  text.append("bad", red);
  text.append("ly", red);
  EXPECT_EQ(text.length(), 10U);
  EXPECT_THAT(text.runs(), ElementsAre(Stretch{5, nullptr}, Stretch{5, red}));
  ASSERT_TRUE(text.setAttributes({3, 4}, red));
  EXPECT_THAT(text.runs(), ElementsAre(Stretch{3, nullptr}, Stretch{7, red}));
  EXPECT_FALSE(text.setAttributes({9, 2}, red));
  EXPECT_FALSE(text.setAttributes({11, 0}, red));
}

TEST(AttributedString, GivesAReplacementTheAttributesOfItsFirstUnit) {
  const auto red = coloured("red");
  const auto blue = coloured("blue");
  ZVAttributedString text("ab🙂c", red);
  ASSERT_TRUE(text.setAttributes({1, 2}, blue));  // to the midst of the face
  const auto replaced = text.replacing({{{1, 3}, "****"}, {{4, 1}, "é"}});
  ASSERT_TRUE(replaced);
  EXPECT_EQ(replaced->text(), "a****é");
  EXPECT_THAT(replaced->runs(), ElementsAre(Stretch{1, red}, Stretch{4, blue}, Stretch{1, red}));
}

TEST(AttributedString, RefusesReplacementsThatMakeNoSense) {
  const ZVAttributedString text("a🙂c");
  using Replacements = std::vector<ZVAttributedString::Replacement>;
  for (const Replacements& wrong :
       {Replacements{{{0, 0}, "x"}}, Replacements{{{0, 2}, "x"}}, Replacements{{{2, 1}, "x"}},
        Replacements{{{3, 2}, "x"}}, Replacements{{{3, 1}, "x"}, {{0, 1}, "x"}},
        Replacements{{{0, 3}, "x"}, {{1, 3}, "x"}},
        Replacements{{{0, static_cast<std::size_t>(-1)}, "x"}}})
    EXPECT_EQ(text.replacing(wrong), std::nullopt);
}

}  // namespace
}  // namespace zavelo

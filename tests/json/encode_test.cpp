#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>

#include "zavelo/base/number_text.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo {
namespace {

TEST(EncodeRecord, LeavesAbsentFieldsOutAndComesBackTheSame) {
  ZVUser user;
  user.userInfo = std::make_shared<ZVUserInfo>();
  user.userInfo->displayName = std::string("tab\t \"quoted\" \0 caf\u00e9 \U0001F525", 26);
  user.userInfo->isFollow = 1;
  user.userInfo->isBlock = false;
  user.unixTimestamp = 1.7e9;
  const auto text = json::encode(user);
  ASSERT_TRUE(text);
  EXPECT_EQ(*text,
            "{\"userInfo\":{\"displayName\":\"tab\\t \\\"quoted\\\" \\u0000 caf\u00e9 "
            "\U0001F525\",\"isFollow\":1,\"isBlock\":false},\"unixTimestamp\":1700000000.0}");
  const auto again = json::decode<ZVUser>(*text);
  ASSERT_TRUE(again);
  EXPECT_EQ(*again->userInfo, *user.userInfo);
  EXPECT_EQ(again->unixTimestamp, user.unixTimestamp);
  EXPECT_EQ(*json::encode(ZVUser()), "{}");
}

TEST(EncodeRecord, RefusesWhatJsonCannotSay) {
  ZVUser user;
  user.unixTimestamp = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(json::encode(user).error().text(), "unixTimestamp: not a finite number");
  const json::Value nested = json::Object{{"a", json::Array{json::Object{{"b", "\xFF"}}}}};
  EXPECT_EQ(json::encode(nested).error().text(), "a[0].b: invalid UTF-8");
}

TEST(EncodeText, EscapesAtEveryPositionOfATextShortOrLong) {
  for (const std::size_t size : {20u, 200u}) {
    for (std::size_t at = 0; at + 2 <= size; ++at) {
      const std::string before(at, 'x'), behind(size - at - 2, 'x');
      for (const char* special : {"\"\"", "\\\"", "\n", "\x01\x1f", "\"\u00E9"}) {
        const std::string text = before + special + behind;
        const auto written = json::encode(json::Value(text));
        ASSERT_TRUE(written);
        EXPECT_EQ(*json::decode<std::string>(*written), text);
      }
      EXPECT_FALSE(json::encode(json::Value(before + "\xFF" + behind)));
      EXPECT_EQ(*json::decode<std::string>('"' + before + R"(\ud83d\ude00)" + behind + '"'),
                before + "\U0001F600" + behind);
      EXPECT_FALSE(json::decode<std::string>('"' + before + R"(\q\")" + behind + '"'));
    }
  }
}

TEST(NumberText, IsShortestRecognisablyRealAndWithoutALocale) {
  EXPECT_EQ(numberText(10.0), "10.0");
  EXPECT_EQ(numberText(-0.0), "-0.0");
  EXPECT_EQ(numberText(0.1), "0.1");
  EXPECT_EQ(numberText(1.0 / 3), "0.3333333333333333");
  EXPECT_EQ(numberText(0.0001), "0.0001");
  EXPECT_EQ(numberText(0.00001), "1e-05");
  EXPECT_EQ(numberText(1e16), "10000000000000000.0");
  EXPECT_EQ(numberText(1e17), "1e+17");
  EXPECT_EQ(numberText(std::int64_t{-5}), "-5");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(numberText(nan), "nan");
  EXPECT_EQ(numberText(std::copysign(nan, -1.0)), "nan");
  EXPECT_EQ(numberText(-std::numeric_limits<double>::infinity()), "-inf");
}

// A numeric punctuation as in Germany or India, whichever locales the machine has.
struct CommaDecimals : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, DoesNotHeedTheProcessLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new CommaDecimals));
  const char* const c = std::setlocale(LC_ALL, "de_DE.UTF-8");  // null where it is not installed
  EXPECT_EQ(*json::encode(json::Value(json::Array{1.5, 1234567})), "[1.5,1234567]");
  EXPECT_EQ(*json::decode<double>("1234.5"), 1234.5);
  std::locale::global(before);
  if (c != nullptr) std::setlocale(LC_ALL, "C");
}

TEST(PrettyText, IndentsAndKeepsTextsWhole) {
  const json::Value value =
      json::Object{{"a", json::Array{1, "x{,}\""}}, {"b", json::Object{}}, {"c", nullptr}};
  EXPECT_EQ(json::prettyText(value),
            "{\n  \"a\": [\n    1,\n    \"x{,}\\\"\"\n  ],\n  \"b\": {},\n  \"c\": null\n}");
}

}  // namespace
}  // namespace zavelo

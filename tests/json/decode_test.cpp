#include <gtest/gtest.h>

#include <malloc.h>

#include <cmath>

#include "tests/support/fault_of.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo {
namespace {

TEST(DecodeRecord, MissingAndNullAreAbsentAndUnknownKeysArePassedOver) {
  const auto user = json::decode<std::shared_ptr<ZVUser>>(
      R"({"userInfo":null,"later":[{"a":{}},"\u00e9",1e3],"accessToken":"a"})");
  ASSERT_TRUE(user);
  EXPECT_EQ((*user)->userInfo, nullptr);
  EXPECT_EQ((*user)->accessToken, "a");
  EXPECT_EQ((*user)->guestId, std::nullopt);
}

TEST(DecodeRecord, FieldsMayComeInAnyOrderEscapedAndTwice) {
  const auto user = json::decode<ZVUser>(
      R"({"guestId":1,"access\u0054oken":"\"\\\/\b\n\u00e9\ud83d\ude00","guestId":2})");
  ASSERT_TRUE(user);
  EXPECT_EQ(user->guestId, 2);
  EXPECT_EQ(user->accessToken, "\"\\/\b\n\u00e9\U0001F600");
}

TEST(DecodeRecord, AWrongTypeFailsTheWholeAndSaysWhere) {
  using Page = std::shared_ptr<ZVSearchUser>;
  EXPECT_EQ(faultOf<Page>(R"({"result":[{},{"isFollow":true}]})"),
            "result[1].isFollow: expected integer");
  EXPECT_EQ(faultOf<Page>(R"({"result":[{"isBlock":1}]})"), "result[0].isBlock: expected flag");
  EXPECT_EQ(faultOf<Page>(R"({"result":[null]})"), "result[0]: expected object");
  EXPECT_EQ(faultOf<Page>(R"({"result":{}})"), "result: expected list");
  EXPECT_EQ(faultOf<Page>(R"({"nextId":"7"})"), "nextId: expected integer");
  EXPECT_EQ(faultOf<ZVUser>(R"({"accessToken":5})"), "accessToken: expected text");
  EXPECT_EQ(faultOf<ZVUser>(R"({"unixTimestamp":"1"})"), "unixTimestamp: expected number");
  EXPECT_EQ(faultOf<ZVUser>("[]"), "expected object");
  EXPECT_EQ(faultOf<ZVUser>(R"({"x":{"a\u0062":[1,tru]}})"), "x.ab[1]: invalid JSON");
  EXPECT_EQ(faultOf<ZVUser>(R"({"x":["\q"]})"), "x[0]: invalid JSON: no such escape in a text");
  EXPECT_EQ(faultOf<ZVUser>(R"({"\q":1})"), "invalid JSON: no such escape in a key");
}

TEST(DecodeRecord, EachKeyIsFoundByItsWholeName) {
  for (const json::Record* record :
       {&json::RecordOf<ZVUserInfo>::get(), &json::RecordOf<ZVSearchUser>::get()}) {
    const auto fields = record->fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      std::string key = fields[i].quotedName();
      const std::size_t size = fields[i].name.size();
      EXPECT_EQ(record->indexOf(key.append(8, ' ').data(), size), i) << key;
      key[size / 2 + 1] = '?';
      EXPECT_EQ(record->indexOf(key.data(), size), json::Record::unknown) << key;
    }
  }
}

TEST(DecodeInteger, CountsHoweverItIsWrittenButNeverAFraction) {
  const auto guestId = [](std::string_view number) {
    const auto user =
        json::decode<ZVUser>(std::string_view("{\"guestId\":" + std::string(number) + " }"));
    return user ? user->guestId : std::nullopt;
  };
  EXPECT_EQ(guestId("1.0"), 1);
  EXPECT_EQ(guestId("1e3"), 1000);
  EXPECT_EQ(guestId("12.50e1"), 125);
  EXPECT_EQ(guestId("0.0e999999999999999999999"), 0);
  EXPECT_EQ(guestId("-0"), 0);
  EXPECT_EQ(guestId("9007199254740993.0"), 9007199254740993);
  EXPECT_EQ(guestId("12345678"), 12345678);
  EXPECT_EQ(guestId("1234567890123456"), 1234567890123456);
  EXPECT_EQ(guestId("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(guestId("-9223372036854775808"), INT64_MIN);
}

TEST(DecodeNumber, IsJudgedByItsSizeAndNotByItsSpelling) {
  const std::string zeros(400, '0');
  const std::string manyZeros(70'000, '0');
  const auto guestId = [](const std::string& number) {
    return faultOf<ZVUser>("{\"guestId\":" + number + " }");
  };
  for (const std::string& fraction :
       {std::string("1.5"), std::string("1e-1"), std::string("9223372036854775807.5"),
        "0." + zeros + "1e+5", "-1" + zeros + "e-402"})
    EXPECT_EQ(guestId(fraction), "guestId: expected integer") << fraction;
  for (const std::string& beyond :
       {std::string("9223372036854775808"), std::string("-9223372036854775809"),
        std::string("1e19"), std::string("1e999"), std::string("1e9223372036854775807"),
        "1" + zeros, "-1" + zeros + "e-100", "0." + zeros + "1e500"})
    EXPECT_EQ(guestId(beyond), "guestId: integer out of range") << beyond;
  EXPECT_EQ(*json::decode<std::int64_t>("12" + zeros + "e-400"), 12);

  const auto number = [](const std::string& text) { return json::decode<double>(text).value(); };
  EXPECT_EQ(number("1" + zeros + "e-400"), 1.0);
  EXPECT_EQ(number("0." + manyZeros + "25e70001"), 2.5);
  EXPECT_EQ(number("-25" + manyZeros + "e-70001"), -2.5);
  EXPECT_EQ(number("0." + zeros + "1e+5"), 0.0);
  EXPECT_TRUE(std::signbit(number("-1e-999")));
  EXPECT_EQ(number("0e999999999999999999999"), 0.0);
  for (const std::string& beyond : {std::string("-1e999"), "1" + zeros, "1" + zeros + "e-50",
                                    "0." + zeros + "1e+999", "0." + manyZeros + "1e700000"}) {
    EXPECT_EQ(faultOf<double>(beyond), "number out of range");
    EXPECT_EQ(faultOf<json::Value>("[" + beyond + "]"), "[0]: number out of range");
    EXPECT_EQ(faultOf<ZVUser>("{\"unknown\":[" + beyond + "]}"), "");
  }
  EXPECT_EQ(faultOf<ZVUser>("{\"unknown\":1e}"), "unknown: invalid JSON");
}

TEST(DecodeText, RefusesWhatIsNotUtf8OrNoJsonOrTooDeep) {
  EXPECT_EQ(faultOf<ZVUser>("{\"accessToken\":\"\xC3\"}"), "invalid UTF-8");
  EXPECT_EQ(faultOf<ZVUser>(R"({"accessToken":"\ud800\u12G4"})"),
            "accessToken: invalid JSON: no such escape in a text");
  EXPECT_EQ(faultOf<ZVUser>(R"({"unknown":[1,{"y":tru}]})"), "unknown[1].y: invalid JSON");
  EXPECT_EQ(faultOf<ZVUser>("{} {}"), "invalid JSON: trailing characters after the value");
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  EXPECT_TRUE(faultOf<json::Value>(deep).ends_with("nested too deeply"));
  EXPECT_LT(faultOf<json::Value>(deep).size(), 400u);
}

TEST(DecodeText, HalfASurrogatePairBecomesTheReplacementCharacter) {
  const std::pair<const char*, const char*> texts[] = {
      {R"(\ud83d)", "\uFFFD"},
      {R"(a\ude00b)", "a\uFFFDb"},
      {R"(\ude00\ud83d)", "\uFFFD\uFFFD"},
      {R"(\ud83d\ud83d\ude00\n)", "\uFFFD\U0001F600\n"},
      {R"(\ud83d\u0041\ud83dx)", "\uFFFDA\uFFFDx"},
  };
  for (const auto& [written, meant] : texts) {
    for (const std::string& before : {std::string(), std::string(100, 'x')}) {
      const std::string text = '"' + before + written + '"';
      EXPECT_EQ(*json::decode<std::string>(text), before + meant) << text;
      EXPECT_EQ(*json::decode<json::Value>("{" + text + ":" + text + "}"),
                (json::Object{{before + meant, before + meant}}));
    }
  }
}

TEST(DecodeText, AByteOrderMarkIsIgnoredAtTheStartOnly) {
  std::string roomy = "\uFEFF{\"guestId\":7}";
  EXPECT_EQ(json::decode<ZVUser>(roomy)->guestId, 7);
  roomy.reserve(roomy.size() + json::paddingBytes);
  EXPECT_EQ(json::decode<ZVUser>(roomy)->guestId, 7);
  EXPECT_EQ(*json::decode<std::string>("\uFEFF\"\uFEFF\""), "\uFEFF");
  EXPECT_EQ(faultOf<json::Value>("\uFEFF\uFEFF1"), "invalid JSON");
  EXPECT_EQ(faultOf<json::Value>("[\uFEFF1]"), "[0]: invalid JSON");
  EXPECT_NE(faultOf<json::Value>("\uFEFF"), "");
}

TEST(DecodeText, ALongTextLeavesNoMemoryInUse) {
  const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  const std::string text = '"' + std::string(8'000'000, 'a') + '"';
  const std::size_t before = inUse();
  ASSERT_EQ(json::decode<std::string>(std::string_view(text)).value().size(), text.size() - 2);
  EXPECT_LT(inUse(), before + 1'000'000);
}

TEST(DecodeText, ReadsATextInPlaceAndACopyAlike) {
  std::string roomy = R"({"guestId":7})";
  roomy.reserve(roomy.size() + json::paddingBytes);
  EXPECT_EQ(json::decode<ZVUser>(roomy)->guestId, 7);
  roomy.shrink_to_fit();
  EXPECT_EQ(json::decode<ZVUser>(roomy)->guestId, 7);
  EXPECT_EQ(*json::decode<std::int64_t>(" 42 "), 42);
  EXPECT_EQ(*json::decode<bool>("true"), true);
}

}  // namespace
}  // namespace zavelo

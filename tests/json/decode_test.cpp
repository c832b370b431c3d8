#include <gtest/gtest.h>

#include "tests/support/fault_of.hpp"
#include "zavelo/json/json.hpp"
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
  for (const char* refused : {"1.5", "9223372036854775808", "-9223372036854775809", "1e19", "1e-1",
                              "99999999999999999999", "1e999999999999999999999"})
    EXPECT_EQ(guestId(refused), std::nullopt) << refused;
}

TEST(DecodeText, RefusesWhatIsNotUtf8OrNoJsonOrTooDeep) {
  EXPECT_EQ(faultOf<ZVUser>("{\"accessToken\":\"\xC3\"}"), "invalid UTF-8");
  EXPECT_EQ(faultOf<ZVUser>(R"({"accessToken":"\ud800"})"),
            "accessToken: invalid JSON: no such escape in a text");
  EXPECT_EQ(faultOf<ZVUser>(R"({"unknown":[1,{"y":tru}]})"), "unknown[1].y: invalid JSON");
  EXPECT_EQ(faultOf<ZVUser>("{} {}"), "invalid JSON: more behind the value");
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  EXPECT_TRUE(faultOf<json::Value>(deep).ends_with("nested too deeply"));
  EXPECT_LT(faultOf<json::Value>(deep).size(), 400u);
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

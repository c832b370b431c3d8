#include "zavelo/api/envelope.hpp"

#include <gtest/gtest.h>

#include "zavelo/core/notifications.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo {
namespace {

Verdict verdictOf(std::string_view text) {
  const auto envelope = json::decode<ZVAPIResonse<json::Value>>(text);
  EXPECT_TRUE(envelope) << text;
  return judge(envelope->code, envelope->message, envelope->codeDetails);
}

ZVAPIError errorOf(std::string_view text) {
  return verdictOf(text).error.value();
}

TEST(Envelope, SaysTheErrorByItsCodeAndItsMessage) {
  using Type = ZVAPIErrorType;
  const std::string unknown = "Unknown error occured!";
  EXPECT_EQ(errorOf(R"({"data":{}})"), (ZVAPIError{Type::invalidData, "Invalid data!"}));
  EXPECT_EQ(errorOf(R"({"code":652,"message":""})"), (ZVAPIError{Type::userNotFound, unknown}));
  EXPECT_EQ(errorOf(R"({"code":652,"message":"X"})"), (ZVAPIError{Type::userNotFound, "X"}));
  EXPECT_EQ(errorOf(R"({"code":5,"message":"X"})"), (ZVAPIError{Type::unknown, "X"}));
  EXPECT_EQ(errorOf(R"({"code":5})"), (ZVAPIError{Type::unknown, unknown}));
  EXPECT_EQ(errorOf(R"({"code":0})"), (ZVAPIError{Type::error, unknown}));
  EXPECT_EQ(errorOf(R"({"code":-512})"), (ZVAPIError{Type::noConnection, unknown}));
}

TEST(Envelope, PrefersTheFirstDetailWhenItIsWhole) {
  using Type = ZVAPIErrorType;
  const auto withDetails = [](std::string details) {
    return errorOf(R"({"code":750,"message":"A","codeDetails":)" + details + "}");
  };
  EXPECT_EQ(withDetails(R"([{"code":964,"message":"B"},{"code":1,"message":"C"}])"),
            (ZVAPIError{Type::otpCodeInvalid, "B"}));
  EXPECT_EQ(withDetails(R"([{"code":7,"message":"B"}])"), (ZVAPIError{Type::unknown, "B"}));
  EXPECT_EQ(withDetails(R"([{"code":964,"message":""}])"), (ZVAPIError{Type::otpCodeInvalid, ""}));
  for (const char* unusable : {"[]", "null", R"([{"code":964}])", R"([{"message":"B"}])"})
    EXPECT_EQ(withDetails(unusable), (ZVAPIError{Type::modelInvalid, "A"})) << unusable;
}

TEST(Envelope, EndsTheSessionForTwoCodesOnly) {
  EXPECT_EQ(verdictOf(R"({"code":1341})").sessionEnd, ZaveloDidLogInAnotherDevice);
  const Verdict banned = verdictOf(R"({"code":603,"codeDetails":[{"code":750,"message":"why"}]})");
  EXPECT_EQ(banned.sessionEnd, ZaveloBanned);
  EXPECT_EQ(banned.error, (ZVAPIError{ZVAPIErrorType::modelInvalid, "why"}));
  EXPECT_EQ(verdictOf(R"({"code":401})").sessionEnd, "");
  EXPECT_EQ(verdictOf(R"({"code":1,"codeDetails":[{"code":603,"message":"x"}]})").error,
            std::nullopt);
}

TEST(ZVAPIErrorType, ComesFromTheBackendsCodesAndNothingElse) {
  EXPECT_EQ(fromRawValue<ZVAPIErrorType>(1341), ZVAPIErrorType::loggedInOtherDevice);
  EXPECT_EQ(fromRawValue<ZVAPIErrorType>(1), std::nullopt);
  EXPECT_EQ(caseName(ZVAPIErrorType::banned), "banned");
  EXPECT_EQ(codedCases<ZVAPIErrorType>.size(), 15u);
}

}  // namespace
}  // namespace zavelo

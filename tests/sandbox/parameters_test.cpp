#include <gtest/gtest.h>

#include <tuple>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

TEST(ParametersTest, EveryMistakeOfAValueIsNamed) {
  const Backend backend;
  const std::tuple<const char*, json::Value, const char*> mistakes[] = {
      {"latitude", "north", "\"latitude\": expected number"},
      {"latitude", 91, "\"latitude\": must be from -90 to 90"},
      {"udid", 1, "\"udid\": unknown parameter"},
      {"zaveloId", nullptr, "\"zaveloId\": expected text"},
      {"zaveloId", "", "\"zaveloId\": must not be empty"},
      {"zaveloId", std::string("a\0b", 3), "\"zaveloId\": must not contain NUL"},
      {"deviceType", 1.5, "\"deviceType\": expected integer"},
      {"deviceType", true, "\"deviceType\": expected integer"},
  };
  for (const auto& [name, value, message] : mistakes) {
    auto body = loginBody("a", "b");
    body.set(name, value);
    const auto answer = backend.post("/api/users/login", body);
    EXPECT_THAT(answer, HasCode(750));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.message(), message);
  }
}

TEST(ParametersTest, EachEndpointHasItsRules) {
  const Backend backend;
  const std::tuple<const char*, std::string, const char*> mistakes[] = {
      {"/api/users/zavelo-register", R"({"zaveloId":"a","deviceType":1})",
       "\"deviceType\": expected text"},
      {"/api/users/zavelo-register", R"({"zaveloId":"a","profileImage":"javascript:1"})",
       "\"profileImage\": expected an http or https address"},
      {"/api/users/zavelo-register",
       R"({"zaveloId":"a","displayName":")" + std::string(101, 'x') + "\"}",
       "\"displayName\": at most 100 characters"},
      {"/api/users/refresh", "[]", "The body is not a JSON object"},
      {"/api/users/refresh?refreshToken=a", "{}",
       "Parameters belong into the body, not into the address"},
      {"/sandbox/faults", R"({"endpoint":"/api/nothing","fault":"cut"})",
       R"("endpoint": there is no /api/nothing)"},
      {"/sandbox/faults", R"({"faults":[{"endpoint":"*","fault":"cut"},{"endpoint":"*"}]})",
       R"(faults[1]: "fault": missing)"},
  };
  for (const auto& [path, body, message] : mistakes)
    EXPECT_EQ(backend.postText(path, body).message(), message);
}

TEST(ParametersTest, SeveralMistakesAreAllListed) {
  const Backend backend;
  const auto answer = backend.postText("/api/users/guest-login", R"({"a":1,"deviceType":"x"})");
  const auto* details = answer.envelope.as<json::Object>()->find("codeDetails");
  const json::Array expected{
      json::Object{{"code", 750}, {"message", "\"a\": unknown parameter"}},
      json::Object{{"code", 750}, {"message", "\"deviceType\": expected integer"}},
      json::Object{{"code", 750}, {"message", "\"deviceUdid\": missing"}}};
  EXPECT_EQ(*details, json::Value(expected));
  EXPECT_EQ(answer.message(), "\"a\": unknown parameter");
}

TEST(ParametersTest, BodiesThatAreNoJsonAreRefused) {
  const Backend backend;
  for (const auto& body :
       {std::string("{"), std::string(100'000, '['), std::string("{\"a\":\"\xff\"}")}) {
    const auto answer = backend.postText("/api/users/refresh", body);
    EXPECT_THAT(answer, HasCode(750));
    EXPECT_THAT(answer.message(), ::testing::StartsWith("The body is not JSON: "));
  }
  EXPECT_EQ(backend.postText("/api/users/refresh", "refreshToken=a", "text/plain").message(),
            "\"Content-Type\": expected application/json");
  EXPECT_THAT(backend.postText("/api/users/refresh", std::string(4 * 1024 * 1024 + 1, ' ')),
              HasCode(413));
  EXPECT_THAT(backend.postText("/api/users/refresh", std::string(17 * 1024 * 1024, ' ')),
              HasCode(413));
}

TEST(ParametersTest, FormFieldsAreCheckedLikeJson) {
  const Backend backend;
  const auto token = backend.join("ann").text("accessToken");
  const auto send = [&](const char* about, const char* dob) {
    return backend.editProfile(token, jpegFile(2, 2), dob, about).message();
  };
  EXPECT_EQ(send("\xC0\xAF", ""), "\"about\": must be UTF-8");
  EXPECT_EQ(send("", "1990-02-30"), "\"dob\": expected a date, YYYY-MM-DD, or an empty text");
  EXPECT_EQ(send("", "1990-2-3"), "\"dob\": expected a date, YYYY-MM-DD, or an empty text");
  EXPECT_EQ(send("", ""), "");
}

}  // namespace
}  // namespace zavelo::sandbox

#include "zavelo/api/api_request.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/api_fixture.hpp"

namespace zavelo {
namespace {

TEST(ToParameters, LeavesAbsentFieldsOutAndKeepsTypes) {
  ZVCreateStreamRequest request;
  request.latitude = 10;
  const auto parameters = toParameters(request);
  EXPECT_EQ(parameters.find("roomType"), nullptr);
  EXPECT_EQ(*parameters.find("latitude"), json::Value(10.0));
  EXPECT_EQ(*parameters.find("tagId"), json::Value(0));
  request.roomType = 3;
  EXPECT_EQ(*toParameters(request).find("roomType"), json::Value(3));

  ZVRegisterZaveloRequest registration;
  registration.zaveloId = "z";
  EXPECT_EQ(toParameters(registration), (json::Object{{"zaveloId", "z"}}));
}

TEST(ToParameters, OfWhatJsonCannotSayAreNoneAndAnEntryInTheLog) {
  const auto log = testing::RecordedLog::install();
  ZVLoginRequest request;
  request.latitude = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(toParameters(request).empty());
  ASSERT_EQ(log->entries().size(), 1u);
  EXPECT_TRUE(log->text().ends_with(
      " toParameters() -> Cannot toDictionary latitude: not a finite number\n"))
      << log->text();
}

class UrlEncoding : public testing::ApiFixture {};

TEST_F(UrlEncoding, GoesIntoTheBodyOrTheQueryByTheMethod) {
  const json::Object parameters{
      {"q", "a b&\u00e9"}, {"list", json::Array{1, true}}, {"o", json::Object{{"k", 0.5}}}};
  const std::string encoded = "q=a%20b%26%C3%A9&list%5B%5D=1&list%5B%5D=1&o%5Bk%5D=0.5";
  const auto send = [&](ZVHTTPMethod method, std::string url = "https://h/p?x=1") {
    http->reply(200, "");
    api->request<bool>(url, method, parameters, ZVParameterEncoding::url, 0, {}, false,
                       ZVAPIService::APILogLevel::none, [](auto) {});
    queue->runDue();
    return http->requests().back();
  };
  EXPECT_EQ(std::get<std::string>(send(ZVHTTPMethod::post).body), encoded);
  EXPECT_EQ(header(0, "Content-Type"), "application/x-www-form-urlencoded; charset=utf-8");
  EXPECT_EQ(send(ZVHTTPMethod::get).url, "https://h/p?x=1&" + encoded);
  EXPECT_EQ(send(ZVHTTPMethod::get, "https://h/p#f?x").url, "https://h/p?" + encoded + "#f?x");
  EXPECT_EQ(send(ZVHTTPMethod::del, "https://h/p?x=1#f").url, "https://h/p?x=1&" + encoded + "#f");
}

}  // namespace
}  // namespace zavelo

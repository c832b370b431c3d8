#include <gtest/gtest.h>

#include "tests/services/user_fixture.hpp"

namespace zavelo {
namespace {

using testing::guestJson;
using testing::memberJson;

std::string ok(std::string_view data) {
  return R"({"code":1,"data":)" + std::string(data) + "}";
}

class UserOperations : public testing::UserFixture {
 protected:
  void SetUp() override { service = makeService(); }
  std::string path(std::size_t index) const {
    return http->requests().at(index).url.substr(std::string("https://api.test").size());
  }

  std::shared_ptr<ZVUserService> service;
  int answers = 0;
};

TEST_F(UserOperations, SendWhatTheBackendExpectsWhereItExpectsIt) {
  const auto count = [this](const auto&) { ++answers; };
  service->searchForUser("ann", 0, 20, count);
  service->login("z", "p", "d", 1.5, 2, count);
  service->loginZavelo("z", "n", "d", 1, 2, count);
  service->loginGuest("d", count);
  service->logoutZavelo(count);
  service->editProfile("n", "2000-01-01", "f", "me", std::nullopt, count);
  service->updatePromoCode("P", "ten off", count);
  service->getUserStreams("ann", 0, 20, count);
  for (int i = 0; i < 8; ++i) http->reply(200, R"({"code":0})");
  queue->runDue();
  EXPECT_EQ(answers, 8);

  EXPECT_EQ(path(0), "/api/users/search");
  EXPECT_EQ(sent(0), (json::Object{{"displayName", "ann"}, {"nextId", 0}, {"limit", 20}}));
  EXPECT_EQ(path(1), "/api/users/login");
  EXPECT_EQ(sent(1), (json::Object{{"zaveloId", "z"},
                                   {"password", "p"},
                                   {"deviceUdid", "d"},
                                   {"deviceType", 1},
                                   {"latitude", 1.5},
                                   {"longitude", 2.0}}));
  EXPECT_EQ(path(2), "/api/users/zavelo-login");
  EXPECT_EQ(*sent(2).find("deviceType"), json::Value(1));
  EXPECT_EQ(path(3), "/api/users/guest-login");
  EXPECT_EQ(sent(3), (json::Object{{"deviceUdid", "d"}, {"deviceType", 1}}));
  EXPECT_EQ(path(4), "/api/users/logout");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(http->requests()[4].body));
  EXPECT_EQ(path(5), "/api/users/edit-profile");
  EXPECT_EQ(sent(5),
            (json::Object{
                {"displayName", "n"}, {"dob", "2000-01-01"}, {"gender", "f"}, {"about", "me"}}));
  EXPECT_EQ(path(6), "/api/users/update-promo-code");
  EXPECT_EQ(sent(6), (json::Object{{"promoCode", "P"}, {"promoCodeDescription", "ten off"}}));
  EXPECT_EQ(path(7), "/api/users/streams");
  EXPECT_EQ(sent(7), (json::Object{{"userName", "ann"}, {"nextId", 0}, {"limit", 20}}));
}

TEST_F(UserOperations, ASignInIsStoredAndCurrentBeforeTheCallerHears) {
  http->reply(200, ok(guestJson));
  service->loginGuest("d", [&](auto result) {
    EXPECT_EQ(service->currentUser(), result.data());
    EXPECT_EQ(storedUser(), guestJson);
    ++answers;
  });
  queue->runDue();
  http->reply(200, R"({"code":652})");
  service->login("z", "p", "d", 0, 0, [&](auto result) {
    EXPECT_FALSE(result.isOk());
    EXPECT_EQ(service->currentUser()->guestId, 9) << "the previous session stays";
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(answers, 2);
}

TEST_F(UserOperations, ASignOutThatFailsEndsTheSessionAllTheSame) {
  service->setUser(userOf(memberJson));
  http->fail({HttpFailure::Kind::unreachable, "no network"});
  service->logoutZavelo([&](auto result) {
    EXPECT_EQ(result.error().description, "no network");
    EXPECT_FALSE(service->isLogin());
    EXPECT_EQ(storedUser(), "");
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(answers, 1);
}

TEST_F(UserOperations, SignInAndSignOutDoNotCallBackOnceTheServiceIsGone) {
  const auto count = [this](const auto&) { ++answers; };
  service->loginGuest("d", count);
  service->logoutZavelo(count);
  service->searchForUser("a", 0, 1, count);
  service.reset();
  for (const char* data : {guestJson, "true", "{}"}) http->reply(200, ok(data));
  queue->runDue();
  EXPECT_EQ(answers, 1) << "the search has nothing to do with the session";
  EXPECT_EQ(storedUser(), "");
}

TEST_F(UserOperations, ARenewalOnDemandStoresTheTokensAndLogsNone) {
  service->setUser(userOf(memberJson));
  http->reply(200, ok(R"({"accessToken":"a2","refreshToken":"r2","expires":"later"})"));
  service->refreshToken("r1", [&](auto result) {
    EXPECT_EQ(result.data()->accessToken, "a2");
    EXPECT_EQ(service->accessToken(), "a2");
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(sent(0), (json::Object{{"refreshToken", "r1"}}));
  EXPECT_NE(log->text().find(" refreshToken(refreshToken:completion:) -> "), std::string::npos);
  EXPECT_EQ(log->text().find("a2"), std::string::npos);

  http->reply(401, "");
  service->refreshToken("r0", [&](auto result) {
    EXPECT_EQ(result.error().type, ZVAPIErrorType::unauthorized);
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(answers, 2);
  EXPECT_EQ(service->accessToken(), "a2");
}

TEST_F(UserOperations, AnExpiredTokenIsRenewedThroughTheStoredSession) {
  service->setUser(userOf(memberJson));
  http->reply(401, "");
  http->reply(200, ok(R"({"accessToken":"a2","refreshToken":"r2"})"));
  http->reply(200, ok(R"({"result":[{"userId":1}],"isEnd":true})"));
  service->searchForUser("a", 0, 1, [&](auto result) {
    EXPECT_EQ(result.data()->result->at(0)->userId, 1);
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(answers, 1);
  EXPECT_EQ(header(2, "Authorization"), "bearer a2");
  EXPECT_NE(storedUser().find("\"refreshToken\":\"r2\""), std::string::npos);
}

TEST_F(UserOperations, AProfilePictureTravelsAsJpegBesideTheFields) {
  ZVImage image{2, 2, std::vector<std::byte>(16, std::byte{0x7f})};
  const auto edit = [&] {
    http->reply(200, ok(R"({"isNewEmail":false,"userInfo":{"userName":"ann"}})"));
    service->editProfile("n", "", "", "\u00e9", image, [&](auto result) {
      EXPECT_EQ(result.data()->userInfo->userName, "ann");
      ++answers;
    });
    queue->runDue();
    return std::get<std::vector<HttpFormPart>>(http->requests().back().body);
  };
  const auto form = edit();
  ASSERT_EQ(form.size(), 5u);
  EXPECT_EQ(form[0].name + " " + form[0].fileName + " " + form[0].mimeType,
            "profile profile.jpeg image/jpeg");
  EXPECT_TRUE(form[0].data.view().starts_with("\xFF\xD8\xFF"));
  EXPECT_EQ(form[4].data.view(), "\u00e9");
  image.width = 3;  // more pixels than it has
  EXPECT_EQ(edit().size(), 4u) << "a picture that cannot be encoded is left out";
  EXPECT_EQ(answers, 2);
}

}  // namespace
}  // namespace zavelo

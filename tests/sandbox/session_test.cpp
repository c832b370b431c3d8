#include <gtest/gtest.h>

#include <chrono>

#include "tests/sandbox/backend.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;
using ::testing::StartsWith;

class SessionTest : public ::testing::Test {
 protected:
  /// The result code of a call that needs a session.
  [[nodiscard]] Answer callWith(const std::string& token) const {
    return backend.post("/api/users/search", {{"displayName", ""}, {"nextId", 0}, {"limit", 1}},
                        token);
  }
  [[nodiscard]] Answer act(const std::string& action, const std::string& userName) const {
    return backend.post("/sandbox/actions", {{"action", action}, {"userName", userName}});
  }

  Backend backend;
};

TEST_F(SessionTest, RegisteredMemberSignsInByPasswordAndOut) {
  const auto registered = backend.post("/api/users/zavelo-register", {{"zaveloId", "ann"},
                                                                      {"userName", "Ann.1"},
                                                                      {"displayName", "Ann Ω"},
                                                                      {"password", "pass word"},
                                                                      {"deviceType", "ios"},
                                                                      {"latitude", 10.6}});
  ASSERT_THAT(registered, HasCode(1));
  EXPECT_EQ(registered.data("userInfo.displayName"), json::Value("Ann Ω"));
  EXPECT_EQ(registered.data("userInfo.latitude"), json::Value(11));

  const auto signedIn = backend.post("/api/users/login", loginBody("ann", "pass word"));
  ASSERT_THAT(signedIn, HasCode(1));
  EXPECT_EQ(signedIn.data("userName"), json::Value("Ann.1"));
  EXPECT_EQ(signedIn.data("userInfo.userId"), registered.data("userInfo.userId"));
  EXPECT_EQ(signedIn.data("expires"), json::Value("2024-05-31T01:00:00.000Z"));
  EXPECT_EQ(signedIn.data("unixTimestamp"), json::Value(1717113600.0));

  const auto token = signedIn.text("accessToken");
  EXPECT_THAT(callWith(token), HasCode(1));
  const auto out = backend.post("/api/users/logout", {}, token);
  EXPECT_EQ(out.data(), json::Value(true));
  EXPECT_EQ(callWith(token).status, 401);
  EXPECT_THAT(backend.refresh(signedIn.text("refreshToken")), HasCode(1018));
}

TEST_F(SessionTest, WrongPasswordAndUnknownMemberLookTheSame) {
  ASSERT_THAT(backend.registerMember("ann", "right"), HasCode(1));
  ASSERT_THAT(backend.join("partner"), HasCode(1));
  const auto wrong = backend.post("/api/users/login", loginBody("ann", "wrong"));
  const auto unknown = backend.post("/api/users/login", loginBody("nobody", "wrong"));
  const auto without = backend.post("/api/users/login", loginBody("partner", "wrong"));
  EXPECT_THAT(wrong, HasCode(652));
  EXPECT_EQ(wrong.body, unknown.body);
  EXPECT_EQ(wrong.body, without.body);
}

TEST_F(SessionTest, NamesThatAreTakenAreRefused) {
  const auto complaint = [&](const char* zaveloId, const char* userName) {
    return backend
        .post("/api/users/zavelo-register", {{"zaveloId", zaveloId}, {"userName", userName}})
        .message();
  };
  EXPECT_EQ(complaint("ann", "Ann"), "");
  EXPECT_THAT(complaint("ann", "bob"), StartsWith("\"zaveloId\": "));
  EXPECT_THAT(complaint("bob", "aNN"), StartsWith("\"userName\": "));
}

TEST_F(SessionTest, PartnerMemberJoinsOnceAndIsKnownAgain) {
  const auto first = backend.join("p-1");
  const auto again =
      backend.post("/api/users/zavelo-login",
                   {{"zaveloId", "p-1"}, {"displayName", "New name"}, {"deviceType", 1}});
  EXPECT_EQ(first.data("userInfo.userId"), again.data("userInfo.userId"));
  EXPECT_EQ(first.data("userInfo.displayName"), json::Value("p-1"));
  EXPECT_EQ(again.data("userInfo.displayName"), json::Value("New name"));
}

TEST_F(SessionTest, GuestHasNoProfileAndIsKnownByItsDevice) {
  const json::Object body{{"deviceUdid", "phone"}, {"deviceType", 1}};
  const auto guest = backend.post("/api/users/guest-login", body);
  ASSERT_THAT(guest, HasCode(1));
  EXPECT_TRUE(guest.data("userInfo").isNull());
  EXPECT_GT(guest.integer("guestId"), 1'000'000'000) << "or it might be a member's id too";
  EXPECT_THAT(callWith(guest.text("accessToken")), HasCode(1));
  EXPECT_EQ(backend.post("/api/users/guest-login", body).data("guestId"), guest.data("guestId"));
}

TEST_F(SessionTest, PromoCodeIsTakenFromMembersOnly) {
  const json::Object code{{"promoCode", "SALE10"}, {"promoCodeDescription", "10 % off"}};
  const auto send = [&](const Answer& session) {
    return backend.post("/api/users/update-promo-code", code, session.text("accessToken"));
  };
  EXPECT_EQ(send(backend.join("ann")).data(), json::Value(true));
  EXPECT_THAT(
      send(backend.post("/api/users/guest-login", {{"deviceUdid", "d"}, {"deviceType", 1}})),
      HasCode(1098));
}

TEST_F(SessionTest, AnotherDeviceTakesTheSessionOver) {
  const auto first = backend.join("ann", "phone");
  const auto second = backend.join("ann", "tablet");
  EXPECT_THAT(callWith(first.text("accessToken")), HasCode(1341));
  EXPECT_THAT(backend.refresh(first.text("refreshToken")), HasCode(1341));
  EXPECT_THAT(callWith(second.text("accessToken")), HasCode(1));

  backend.clock->advance(2h);
  EXPECT_THAT(callWith(first.text("accessToken")), HasCode(1341)) << "also when it expired";
}

TEST_F(SessionTest, SameDeviceReplacesItsSessionQuietly) {
  const auto first = backend.join("ann", "phone");
  const auto second = backend.join("ann", "phone");
  EXPECT_EQ(callWith(first.text("accessToken")).status, 401);
  EXPECT_THAT(callWith(second.text("accessToken")), HasCode(1));
}

TEST_F(SessionTest, BannedMemberIsToldAtEveryCallAndSignIn) {
  ASSERT_THAT(backend.registerMember("ann", "right"), HasCode(1));
  const auto session = backend.join("ann");
  ASSERT_EQ(act("ban", "ann").data("changed"), json::Value(1));
  EXPECT_THAT(callWith(session.text("accessToken")), HasCode(603));
  EXPECT_THAT(backend.post("/api/users/logout", {}, session.text("accessToken")), HasCode(603));
  EXPECT_THAT(backend.refresh(session.text("refreshToken")), HasCode(603));
  EXPECT_THAT(backend.post("/api/users/login", loginBody("ann", "right")), HasCode(603));
  EXPECT_THAT(backend.post("/api/users/login", loginBody("ann", "wrong")), HasCode(652));

  ASSERT_EQ(act("unban", "ann").data("changed"), json::Value(1));
  EXPECT_THAT(callWith(session.text("accessToken")), HasCode(1));
}

TEST_F(SessionTest, AccessTokenExpiresAndIsRenewed) {
  const auto session = backend.join("ann");
  backend.clock->advance(1h);
  const auto expired = callWith(session.text("accessToken"));
  EXPECT_EQ(expired.status, 401);
  EXPECT_EQ(expired.message(), "Unauthorized!");

  const auto renewed = backend.refresh(session.text("refreshToken"));
  ASSERT_THAT(renewed, HasCode(1));
  EXPECT_THAT(callWith(renewed.text("accessToken")), HasCode(1));
  EXPECT_EQ(renewed.data("expires"), json::Value("2024-05-31T02:00:00.000Z"));
}

TEST_F(SessionTest, TradedRefreshTokenEndsTheSessionAfterTheGrace) {
  const auto session = backend.join("ann");
  const auto renewed = backend.refresh(session.text("refreshToken"));
  backend.clock->advance(31s);
  EXPECT_THAT(backend.refresh(session.text("refreshToken")), HasCode(1018));
  EXPECT_EQ(callWith(renewed.text("accessToken")).status, 401);
  EXPECT_THAT(backend.refresh(renewed.text("refreshToken")), HasCode(1018));
}

TEST_F(SessionTest, CallsWithoutASessionAreUnauthorized) {
  for (const auto* path : {"/api/users/search", "/api/users/logout", "/api/users/edit-profile",
                           "/api/users/update-promo-code"}) {
    EXPECT_EQ(backend.post(path).status, 401) << path;
    EXPECT_THAT(backend.post(path, {}, "made-up"), HasCode(401)) << path;
  }
}

TEST_F(SessionTest, ActionsMeetWhomTheyName) {
  const auto ann = backend.join("ann").text("accessToken");
  const auto bob = backend.join("bob").text("accessToken");
  ASSERT_THAT(act("expire-tokens", "ann"), HasCode(1));
  EXPECT_EQ(callWith(ann).status, 401);
  EXPECT_THAT(callWith(bob), HasCode(1));
  ASSERT_THAT(backend.post("/sandbox/actions", {{"action", "expire-tokens"}}), HasCode(1));
  EXPECT_EQ(callWith(bob).status, 401) << "no name: everybody";
  EXPECT_THAT(act("ban", "nobody"), HasCode(652));
  EXPECT_THAT(act("promote", "ann"), HasCode(750));
  EXPECT_THAT(backend.post("/sandbox/actions", {{"action", "ban"}}), HasCode(750));
}

}  // namespace
}  // namespace zavelo::sandbox

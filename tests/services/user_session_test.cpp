#include <gtest/gtest.h>

#include "tests/services/user_fixture.hpp"

namespace zavelo {
namespace {

using testing::guestJson;
using testing::memberJson;

class UserSession : public testing::UserFixture {};

TEST_F(UserSession, IsRestoredOnlyWithAnAccessToken) {
  storeUser(memberJson);
  EXPECT_EQ(makeService()->currentUser()->userInfo->userName, "ann");
  for (const char* refused : {R"({"accessToken":""})", R"({"userInfo":{}})", "null", "[]", "{",
                              R"({"accessToken":"a","guestId":"9"})"}) {
    storeUser(refused);
    EXPECT_FALSE(makeService()->isLogin()) << refused;
    EXPECT_EQ(storedUser(), refused) << "ignored, not deleted";
  }
  ASSERT_TRUE(store->set("ZVUser", StoreScalar(std::string(memberJson))));
  EXPECT_FALSE(makeService()->isLogin()) << "a text is not binary data";
}

TEST_F(UserSession, BannedWordsAreAllTextsOrNone) {
  makeService()->saveNaughtyWords({"bad", "", "caf\u00e9", std::string(300, 'x')});
  EXPECT_EQ(makeService()->naughtyWords(),
            (std::vector<std::string>{"bad", "", "caf\u00e9", std::string(300, 'x')}));
  using List = std::vector<StoreScalar>;
  ASSERT_TRUE(store->set("ZaveloNaughtyWords", List{std::string("bad"), std::string()}));
  EXPECT_EQ(makeService()->naughtyWords(), (std::vector<std::string>{"bad", ""})) << "as before";
  const std::vector<std::byte> cut{std::byte{9}, {}, {}, {}, std::byte{'b'}};
  ASSERT_TRUE(store->set("ZaveloNaughtyWords", StoreScalar(cut)));
  EXPECT_TRUE(makeService()->naughtyWords().empty());
  ASSERT_TRUE(store->set("ZaveloNaughtyWords", List{std::string("bad"), 5.0}));
  EXPECT_TRUE(makeService()->naughtyWords().empty());
  ASSERT_TRUE(store->set("ZaveloNaughtyWords", StoreScalar(std::string("bad"))));
  EXPECT_TRUE(makeService()->naughtyWords().empty());
}

TEST_F(UserSession, HasThreeStates) {
  const auto service = makeService();
  EXPECT_FALSE(service->isLogin());
  EXPECT_TRUE(service->isGuest());
  service->setUser(userOf(guestJson));
  EXPECT_TRUE(service->isLogin());
  EXPECT_TRUE(service->isGuest());
  service->setUser(userOf(memberJson));
  EXPECT_TRUE(service->isLogin());
  EXPECT_FALSE(service->isGuest());
}

TEST_F(UserSession, AGuestIsStoredBySettingButNotByUpdating) {
  const auto service = makeService();
  service->setUser(userOf(memberJson));
  service->updateUser(userOf(guestJson));
  EXPECT_EQ(service->currentUser()->guestId, 9);
  EXPECT_EQ(storedUser(), memberJson) << "the stored copy stays as it was";
  service->setUser(userOf(guestJson));
  EXPECT_EQ(storedUser(), guestJson);
}

TEST_F(UserSession, NewTokensReplaceAllThreeInPlace) {
  const auto service = makeService();
  service->refreshTokenWith({"x", "y", "z"});
  EXPECT_EQ(storedUser(), "") << "no user is signed in";

  const auto held = userOf(memberJson);
  service->setUser(held);
  service->refreshTokenWith({"a2", std::nullopt, "later"});
  EXPECT_EQ(held->accessToken, "a2");
  EXPECT_EQ(held->refreshToken, std::nullopt);
  EXPECT_EQ(storedUser(),
            R"({"userInfo":{"userName":"ann"},"accessToken":"a2","expires":"later"})");

  service->setUser(userOf(guestJson));
  service->refreshTokenWith({"g2", "r2", "later"});
  EXPECT_EQ(service->accessToken(), "g2");
  EXPECT_EQ(makeService()->accessToken(), "g1") << "a guest's new tokens are not stored";
}

TEST_F(UserSession, AStoreThatFailsIsAWarningAndTheSessionGoesOn) {
  store->failWith("the disk is full");
  const auto service = makeService();
  service->setUser(userOf(memberJson));
  EXPECT_FALSE(service->isGuest());
  service->endSession();
  EXPECT_FALSE(service->isLogin());
  EXPECT_NE(log->text().find("the disk is full"), std::string::npos);
  EXPECT_EQ(log->text().find("a1"), std::string::npos) << "no tokens in the log";
}

TEST_F(UserSession, ThatCannotBeWrittenAsJsonIsCurrentAllTheSame) {
  const auto service = makeService();
  service->setUser(userOf(guestJson));
  const auto broken = userOf(memberJson);
  broken->userName = "\xff";
  service->setUser(broken);
  EXPECT_EQ(service->currentUser(), broken);
  EXPECT_EQ(storedUser(), guestJson);
}

}  // namespace
}  // namespace zavelo

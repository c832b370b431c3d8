#include <gmock/gmock.h>

#include <algorithm>

#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"
#include "tests/sandbox/backend.hpp"

// A session from its sign-in to its end, at the real backend.

namespace zavelo::test {
namespace {

using sandbox::Backend;
using sandbox::HasCode;
using ::testing::ElementsAre;

class Session : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(app.signIn("ann").ok); }

  void act(const char* action) const {
    ASSERT_THAT(backend.post("/sandbox/actions", {{"action", action}, {"userName", "ann"}}),
                HasCode(1));
  }
  bool isStored() { return App(backend.sandbox->url(), folder / "store").user->isLogin(); }

  const TemporaryFolder folder;
  Backend backend;
  App app{backend.sandbox->url(), folder / "store"};
};

TEST_F(Session, OutlivesAnExpiryThatTwentyCallsMeet) {
  const auto expired = app.user->accessToken();
  act("expire-tokens");
  for (int i = 0; i < 20; ++i) app.search();
  app.waitForAnswers(21);
  EXPECT_TRUE(std::all_of(app.answers.begin(), app.answers.end(), [](auto& a) { return a.ok; }));
  EXPECT_TRUE(app.heard.empty());
  EXPECT_NE(app.user->accessToken(), expired);
  App restored(backend.sandbox->url(), folder / "store");
  EXPECT_EQ(restored.user->accessToken(), app.user->accessToken());
  EXPECT_TRUE(restored.searchToItsEnd().ok);
}

TEST_F(Session, EndsOnceItCannotBeRenewed) {
  backend.clock->advance(std::chrono::days(31));
  const auto answer = app.searchToItsEnd();
  EXPECT_EQ(answer.error.type, ZVAPIErrorType::invalidRefreshToken);
  EXPECT_EQ(answer.error.description, "Unauthorized!");
  EXPECT_THAT(app.heard, ElementsAre("ZaveloDidRefreshTokenFailed"));
  EXPECT_FALSE(app.user->isLogin());
  EXPECT_FALSE(isStored());
}

TEST_F(Session, EndsWithItsNotificationWhenTheBackendSaysSo) {
  const std::tuple<const char*, ZVAPIErrorType, const char*> ends[] = {
      {"sign-in-elsewhere", ZVAPIErrorType::loggedInOtherDevice, "ZaveloDidLogInAnotherDevice"},
      {"ban", ZVAPIErrorType::banned, "ZaveloBanned"},
  };
  for (const auto& [action, type, notification] : ends) {
    ASSERT_TRUE(app.signIn("ann").ok);
    app.heard.clear();
    act(action);
    EXPECT_EQ(app.searchToItsEnd().error.type, type);
    EXPECT_THAT(app.heard, ElementsAre(notification));
    EXPECT_FALSE(app.user->isLogin());
    EXPECT_FALSE(isStored());
  }
  EXPECT_EQ(app.signIn("ann").error.type, ZVAPIErrorType::banned);
}

TEST_F(Session, SurvivesFaultsThatAreNoVerdictOnIt) {
  for (const char* fault : {"cut", "refuse", "invalidJson", "wrongType"}) {
    SCOPED_TRACE(fault);
    ASSERT_THAT(
        backend.post("/sandbox/faults", {{"endpoint", "/api/users/search"}, {"fault", fault}}),
        HasCode(1));
    EXPECT_FALSE(app.searchToItsEnd().ok);
    EXPECT_TRUE(app.user->isLogin());
    EXPECT_TRUE(app.heard.empty());
  }
  EXPECT_TRUE(app.searchToItsEnd().ok);
}

}  // namespace
}  // namespace zavelo::test

#include <gmock/gmock.h>

#include "tests/e2e/app.hpp"
#include "tests/support/loopback_server.hpp"
#include "tests/support/temporary_folder.hpp"

// What becomes of calls whose owner goes, over connections that are open.

namespace zavelo::test {
namespace {

constexpr std::size_t many = 50;

/// An app with many calls at a server that leaves them waiting.
class Ending : public ::testing::Test {
 protected:
  void SetUp() override {
    for (std::size_t i = 0; i < many; ++i)
      calls.push_back(app.search(app.answered<std::shared_ptr<ZVSearchUser>>()));
    server.waitForRequests(1);
  }
  void expectAll(ZVAPIErrorType type, const std::string& description) {
    app.waitForAnswers(many);
    EXPECT_EQ(app.answers.size(), many);
    for (const AppAnswer& answer : app.answers) {
      EXPECT_EQ(answer.error.type, type);
      EXPECT_THAT(answer.error.description, ::testing::HasSubstr(description));
    }
  }

  const TemporaryFolder folder;
  LoopbackServer server{[](const auto&, ServerConnection& connection) { connection.hold(); }};
  App app{server.url(""), folder / "store"};
  std::vector<ZVCall> calls;
};

TEST_F(Ending, OfTheAPIServiceAnswersEachCall) {
  app.user.reset();
  app.api.reset();
  expectAll(ZVAPIErrorType::noConnection,
            "Please ensure that you are in an area with strong WIFI/3G signal!");
}

TEST_F(Ending, OfTheHttpSessionAnswersEachCall) {
  app.endHttpSession();
  expectAll(ZVAPIErrorType::unknown, "cancelled");
}

TEST_F(Ending, ByCancellingAnswersEachCallOnce) {
  for (int again = 0; again < 2; ++again)
    for (const ZVCall& call : calls) call.cancel();
  expectAll(ZVAPIErrorType::unknown, "cancelled");
}

TEST_F(Ending, OfTheAppDropsWhatNobodyCanAnswer) {
  // The main queue goes with all that it holds; no call reaches the app any more.
  app.user.reset();
  app.api.reset();
}

TEST(UserServiceEnding, SilencesSignInsAndLeavesOtherCallsAlone) {
  const TemporaryFolder folder;
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    connection.reply(200, request.target == "/api/users/search"
                              ? R"({"code":1,"data":{}})"
                              : R"({"code":1,"data":{"accessToken":"a"}})");
  });
  App app(server.url(""), folder / "store");
  app.user->loginGuest("d", [](const auto&) { FAIL() << "its service is gone"; });
  app.user->logoutZavelo([](const auto&) { FAIL() << "its service is gone"; });
  app.search(app.answered<std::shared_ptr<ZVSearchUser>>());
  server.waitForRequests(3);
  app.user.reset();
  app.waitForAnswers(1);
  EXPECT_TRUE(app.answers.front().ok);
}

}  // namespace
}  // namespace zavelo::test

#include <gtest/gtest.h>

#include "tests/examples/first_hour_fixture.hpp"

namespace zavelo::command {
namespace {

TEST_F(FirstHour, PrintsWhatOthersSayUntilTheStreamEnds) {
  const auto app = startApp("secret");
  ASSERT_EQ(app->nextLine(), "in soup");
  logBobIn();
  bob({"chat", "send", "--channel", "soup", "--message", "hello"});
  EXPECT_EQ(app->nextLine(), "Bob: hello");
  bob({"chat", "send", "--channel", "soup", "--type", "hostStreamEnd"});
  const auto outcome = app->wait();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, "");
}

TEST_F(FirstHour, AnEveningGoesFromSignUpToSignOut) {
  logBobIn();
  const auto app = startApp("secret", ZAVELO_EVENING, "cara", "bob");
  EXPECT_EQ(app->nextLine(), "stream: Soup");
  EXPECT_TRUE(app->nextLine().starts_with("gold left: "));
  ASSERT_EQ(app->nextLine(), "in soup");
  bob({"chat", "send", "--channel", "soup", "--message", "hello"});
  EXPECT_EQ(app->nextLine(), "Bob: hello");
  bob({"chat", "send", "--channel", "soup", "--type", "startPoll", "--poll-data",
       R"({"question":"Red?","option1":"yes","option2":"no"})"});
  EXPECT_EQ(app->nextLine(), "Red?");
  bob({"chat", "send", "--channel", "soup", "--type", "hostStreamEnd"});
  const auto outcome = app->wait();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, "");
}

TEST_F(FirstHour, SaysWhyItCannotSignIn) {
  const auto outcome = startApp("wrong")->wait();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.error.find("first_hour: "), std::string::npos) << outcome.error;
}

}  // namespace
}  // namespace zavelo::command

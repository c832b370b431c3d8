#include <gmock/gmock.h>

#include "tests/tools/command_fixture.hpp"

namespace zavelo::command {
namespace {

using testing::HasSubstr;

class CensorTest : public testing::Test {
 protected:
  void SetUp() override {
    EXPECT_EQ(run({"user", "save-naughty-words", "--words", "bad", "--words", "été"}).status, 0);
  }
  [[nodiscard]] ChildOutcome run(std::vector<std::string> arguments,
                                 const std::string& input = {}) const {
    arguments.insert(arguments.begin(), {"--store", (folder_ / "store.sqlite").string()});
    return runCommand(arguments, input);
  }
  [[nodiscard]] std::string censored(std::vector<std::string> arguments,
                                     const std::string& input = {}) const {
    arguments.insert(arguments.begin(), "censor");
    return run(std::move(arguments), input).output;
  }

  TemporaryFolder folder_;
};

TEST_F(CensorTest, MasksTheWordsOfTheStore) {
  EXPECT_EQ(censored({"BAD day, bad!"}), "\"*** day, bad!\"\n");
  EXPECT_EQ(censored({"--attributed", "so bad, badly; E\u0301te\u0301"}),
            "\"so ***, ***ly; ***\"\n");
}

TEST_F(CensorTest, ReadsTheTextFromTheStandardInputWithoutItsLastLineBreak) {
  EXPECT_EQ(censored({"-"}, "so\nnot bad\n"), "\"so\\nnot ***\"\n");
  EXPECT_EQ(censored({"-", "--attributed"}, std::string("\0bad", 4)), "\"\\u0000bad\"\n");
}

TEST_F(CensorTest, RefusesWhatIsNoText) {
  const auto outcome = run({"censor", "bad \xFF"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.error, HasSubstr("TEXT: expected UTF-8"));
  EXPECT_THAT(run({"censor"}).error, HasSubstr("TEXT is required"));
  EXPECT_THAT(run({"censor", "-"}).error, HasSubstr("TEXT: the standard input is empty"));
}

}  // namespace
}  // namespace zavelo::command

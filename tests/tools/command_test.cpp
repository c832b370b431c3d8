#include <gmock/gmock.h>

#include <fstream>

#include "tests/tools/command_fixture.hpp"
#include "zavelo/platform/jpeg.hpp"

// The command as a process, against a sandbox on real HTTP.

namespace zavelo::command {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(CommandTest, TakesListsRecordsNumbersAndJpegFiles) {
  EXPECT_THAT(run({"user", "login-zavelo", "--zavelo-id", "bob", "--display-name", "Bob",
                   "--latitude", "-5.5"})
                  .output,
              HasSubstr("\"displayName\":\"Bob\""));
  const auto words = run({"user", "save-naughty-words", "--words", "[a,b]", "--words", "--c"});
  EXPECT_EQ(words.output, "null\n");
  EXPECT_EQ(run({"user", "naughty-words"}).output, "[\"[a,b]\",\"--c\"]\n");

  const auto jpeg = TurboJpegEncoder().encode({2, 1, std::vector<std::byte>(8)}, 1);
  std::ofstream(folder_ / "dot.jpeg", std::ios::binary)
      .write(reinterpret_cast<const char*>(jpeg->data()),
             static_cast<std::streamsize>(jpeg->size()));
  const auto edited =
      run({"user", "edit-profile", "--display-name", "Ann", "--dob", "2000-01-01", "--gender", "",
           "--about", "-5", "--image", (folder_ / "dot.jpeg").string()});
  EXPECT_THAT(edited.output, HasSubstr("/media/profiles/")) << edited.error;

  EXPECT_EQ(run({"user", "refresh-token-with", "--token", "{\"accessToken\":\"new\"}"}).status, 0);
  EXPECT_EQ(memberText(run({"user", "current-user"}).output, "accessToken"), "new");
}

TEST_F(CommandTest, ReadsOnlyTheFirstLineAsPassword) {
  registerMember("ann");
  const auto wrong = signIn("ann", "guess");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_EQ(wrong.output, "");
  EXPECT_THAT(wrong.error, StartsWith("error: userNotFound (652): "));
  EXPECT_EQ(signIn("ann", "secret\nmore").status, 0);
  const auto nothing = run({"user", "login", "--zavelo-id", "ann", "--password", "-"});
  EXPECT_EQ(nothing.status, 2);
  EXPECT_THAT(nothing.error, HasSubstr("--password: the standard input is empty"));
}

TEST_F(CommandTest, OffersAndGivesGifts) {
  registerMember("ann");
  ASSERT_EQ(signIn("ann", "secret").status, 0);
  EXPECT_THAT(run({"gift", "store"}).output, HasSubstr("\"giftCategoryName\":"));
  const auto nowhere = run({"gift", "send-gift", "--slug", "none", "--gift-id", "1"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_THAT(nowhere.error, HasSubstr("stream")) << "all parameters were taken";
}

TEST_F(CommandTest, WritesTheLogToStandardErrorAndNoSecrets) {
  registerMember("ann");
  const auto quiet = signIn("ann", "secret");
  EXPECT_EQ(quiet.error, "");
  const auto logged =
      run({"user", "login", "--zavelo-id", "ann", "--password", "secret", "--log", "simple"});
  EXPECT_THAT(logged.error, HasSubstr("/api/users/login"));
  EXPECT_THAT(logged.error, Not(HasSubstr("secret")));
  const auto token = memberText(logged.output, "accessToken");
  EXPECT_THAT(logged.error, Not(HasSubstr(token)));
  const auto full =
      run({"user", "login", "--zavelo-id", "ann", "--password", "secret", "--log", "full"});
  EXPECT_THAT(full.error, HasSubstr("\"zaveloId\""));
}

TEST_F(CommandTest, ReportsAStoreThatCannotKeepTheSession) {
  const auto outcome = runCommand({"--store", "/", "--json", "user", "is-login"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.error, StartsWith("{\"error\":{\"type\":\"store\",\"description\":\""));
}

TEST_F(CommandTest, TakesBackendAndStoreFromTheEnvironment) {
  const auto store = (folder_ / "other.sqlite").string();
  const auto outcome = runShell("export ZAVELO_API=" + sandbox_->url() + "/ ZAVELO_STORE=" + store +
                                "; \"$0\" user login-guest > " + (folder_ / "out").string() +
                                " && \"$0\" user is-login");
  EXPECT_EQ(outcome.output, "true\n") << outcome.error;
  EXPECT_TRUE(std::filesystem::exists(store));
}

TEST(Output, AResultThatCannotBeWrittenIsAnError) {
  const auto full = runShell("\"$0\" version > /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_THAT(full.error, HasSubstr("No space left"));
  EXPECT_EQ(runShell("\"$0\" version >&-").status, 1);
}

TEST(Output, AReaderThatLeftIsNoCrash) {
  const TemporaryFolder folder;
  const auto outcome = runShell("cd " + folder.path().string() +
                                "; mkfifo go; { read x < go; \"$0\" version; echo $? > status; } |"
                                " { exec <&-; echo > go; }; read status < status; exit $status");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, HasSubstr("Broken pipe"));
}

TEST_F(CommandTest, TriggersWhatTheSandboxCanMakeHappen) {
  registerMember("ann");
  EXPECT_EQ(run({"trigger", "give-gold", "--user-name", "ann", "--gold", "5"}).output,
            "{\"changed\":1}\n");
  EXPECT_EQ(run({"trigger", "unban", "--user-name", "ann"}).output, "{\"changed\":0}\n");
  const std::pair<std::vector<std::string>, const char*> refusals[] = {
      {{"ban", "--user-name", "bob"}, "There is no member of that userName"},
      {{"give-gold", "--user-name", "ann", "--gold", "0"}, "\"gold\": must be from 1"},
      {{"poll", "--slug", "s", "--question", "?", "--option1", "a", "--option2", "b"},
       "\"slug\": there is no such stream"},
  };
  for (const auto& [arguments, why] : refusals) {
    auto all = arguments;
    all.insert(all.begin(), "trigger");
    const auto outcome = run(all);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.error, HasSubstr(why));
  }
  sandbox_->stop();
  EXPECT_THAT(run({"trigger", "ban", "--user-name", "ann"}).error, HasSubstr("cannot connect"));
}

}  // namespace
}  // namespace zavelo::command

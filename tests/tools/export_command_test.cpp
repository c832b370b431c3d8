#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <iterator>

#include "tests/tools/command_fixture.hpp"

namespace zavelo::command {
namespace {

using testing::HasSubstr;

class ExportCommand : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const char* name) const { return (folder / name).string(); }
  [[nodiscard]] std::string content(const char* name) const {
    std::ifstream stream(folder / name);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] ChildOutcome run(std::vector<std::string> more) const {
    more.insert(more.begin(), {"sandbox", "export", "--state", path("state")});
    return runCommand(more);
  }
  [[nodiscard]] std::unique_ptr<ChildProcess> startSandbox() const {
    return startCommand({"sandbox", "--port", "0", "--no-broker", "--state", path("state")});
  }
  /// Leaves a state that nobody has put in order.
  void SetUp() override {
    const auto sandbox = startSandbox();
    ASSERT_EQ(
        runCommand({"--api", memberText(sandbox->nextLine(), "url"), "--store", path("session"),
                    "user", "login-zavelo", "--zavelo-id", "ann", "--display-name", "Ann"})
            .status,
        0);
    sandbox->signal(SIGKILL);
    (void)sandbox->wait();
  }

  const TemporaryFolder folder;
};

TEST_F(ExportCommand, SeedGoesWhereItIsToGo) {
  const auto shown = run({});
  EXPECT_EQ(shown.status, 0) << shown.error;
  EXPECT_THAT(shown.output, HasSubstr("\n      \"displayName\": \"Ann\",\n"));
  EXPECT_EQ(shown.error, "warning: not in the seed: 1 session\n");
  std::ofstream(folder / "seed.json") << "what was there before";
  std::filesystem::create_symlink("seed.json", folder / "link.json");
  const auto written = run({"--output", path("link.json")});
  EXPECT_THAT(written.output, HasSubstr(R"("members":1,"streams":0,"products":0})"));
  EXPECT_EQ(content("seed.json"), shown.output);
}

TEST_F(ExportCommand, NothingIsLostWhereItCannotBeWritten) {
  const std::pair<std::string, const char*> places[] = {
      {path("state"), "would replace the state file"},
      {folder.path().string(), "it is a folder"},
      {"/dev/null", "it is no file"},
      {path("none/seed.json"), "No such file"},
  };
  for (const auto& [output, complaint] : places) {
    const auto outcome = run({"--output", output});
    EXPECT_EQ(outcome.status, 1) << output;
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.error, HasSubstr(complaint));
  }
  const auto sandbox = startSandbox();
  EXPECT_NE(sandbox->nextLine(), "");
  std::ofstream(folder / "seed.json") << "what was there before";
  EXPECT_THAT(run({"--output", path("seed.json")}).error, HasSubstr("stop that one first"));
  EXPECT_EQ(content("seed.json"), "what was there before");
}

TEST_F(ExportCommand, RunningSandboxTellsTheSameAsItsFile) {
  const auto ofFile = run({});
  const auto sandbox = startSandbox();
  const auto url = memberText(sandbox->nextLine(), "url");
  const auto ofRunning = runCommand({"--api", url, "sandbox", "export", "--running"});
  EXPECT_EQ(ofRunning.output, ofFile.output);
  EXPECT_EQ(ofRunning.error, ofFile.error);
  sandbox->signal(SIGTERM);
  (void)sandbox->wait();
  const auto gone = runCommand({"--api", url, "sandbox", "export", "--running"});
  EXPECT_EQ(gone.status, 1);
  EXPECT_THAT(gone.error, HasSubstr("cannot connect"));
}

}  // namespace
}  // namespace zavelo::command

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

#include "support/loopback_server.hpp"
#include "tests/tools/command_fixture.hpp"

// How the command ends: signals, children, ports.

namespace zavelo::command {
namespace {

using testing::HasSubstr;

TEST(Interruption, CancelsTheCallUnderWay) {
  const TemporaryFolder folder;
  const test::LoopbackServer backend(
      [](const auto&, test::ServerConnection& connection) { connection.hold(); });
  const auto command = startCommand({"--api", backend.url(""), "--store",
                                     (folder / "session.sqlite").string(), "user", "login-guest"});
  backend.waitForRequests(1);
  command->signal(SIGINT);
  const auto outcome = command->wait();
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.error, "error: unknown (-2): cancelled\n");
}

TEST(SandboxCommand, KeepsWhatItAcknowledgedWhenItIsKilled) {
  const TemporaryFolder folder;
  const auto state = (folder / "new" / "state.sqlite").string();
  for (const int isTaken : {0, 1}) {
    const auto sandbox = startCommand({"sandbox", "--port", "0", "--state", state});
    EXPECT_EQ(runCommand({"--api", memberText(sandbox->nextLine(), "url"), "call",
                          "register-zavelo-user", "--parameters", R"({"zaveloId":"ann"})"})
                  .status,
              isTaken);
    sandbox->signal(SIGKILL);
    EXPECT_EQ(sandbox->wait().status, 128 + SIGKILL);
  }
}

TEST(SandboxCommand, InterruptedWhileItLoadsALargeSeedEndsAtOnce) {
  const TemporaryFolder folder;
  {
    std::ofstream seed(folder / "seed.json");
    seed << R"({"gifts":[)";
    for (int i = 1; i <= 100'000; ++i) {
      seed << (i > 1 ? "," : "") << R"({"giftId":)" << i << R"(,"giftName":"g","costGold":1})";
    }
    seed << "]}";
  }
  const auto sandbox = startCommand({"sandbox", "--port", "0", "--ephemeral", "--no-broker",
                                     "--seed", (folder / "seed.json").string()});
  sandbox->signal(SIGINT);
  const auto ended = sandbox->wait();
  EXPECT_EQ(ended.status, 128 + SIGINT);
  EXPECT_EQ(ended.output, "");
}

TEST(SandboxCommand, ServesItsPortAloneUntilItIsTerminated) {
  const auto first = startCommand({"sandbox", "--port", "0", "--ephemeral"});
  const auto url = memberText(first->nextLine(), "url");
  const auto port = url.substr(url.rfind(':') + 1);
  const auto second = runCommand({"sandbox", "--ephemeral", "--port", port});
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.error, HasSubstr(port));
  first->signal(SIGTERM);
  const auto ended = first->wait();
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.error, "");
}

TEST(SandboxCommand, TakesItsBrokerAlongHoweverItEnds) {
  for (const int way : {SIGTERM, SIGKILL}) {
    const auto sandbox = startCommand({"sandbox", "--port", "0", "--ephemeral"});
    const auto url = memberText(sandbox->nextLine(), "rtmUrl");
    const auto port = url.substr(url.rfind(':') + 1);
    const auto second =
        runCommand({"sandbox", "--ephemeral", "--port", "0", "--broker-port", port});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.error,
                HasSubstr("port " + port + " for the broker: Address already in use"));
    sandbox->signal(way);
    (void)sandbox->wait();
    const auto ask = "mosquitto_pub -p " + port + " -t t -n 2>&1";
    // The shell says when nobody answers any more; a broker that stays would time the test out.
    EXPECT_EQ(startShell("while " + ask + "; do sleep 0.02; done >/dev/null")->wait().status, 0);
  }
}

TEST(SandboxCommand, SharesNothingWithAnotherBesideItAndKeepsNothing) {
  const TemporaryFolder folder;
  const auto home = folder.path().string();
  const auto start = [&] {
    return startShell("HOME=" + home + " XDG_DATA_HOME= TMPDIR=" + home +
                      " exec \"$0\" sandbox --port 0 --ephemeral");
  };
  const auto first = start();
  const auto second = start();
  const auto firstUrl = memberText(first->nextLine(), "url");
  const auto line = second->nextLine();
  const auto join = [](const std::string& url) {
    return runCommand({"--api", url, "call", "register-zavelo-user", "--parameters",
                       R"({"zaveloId":"ann"})"})
        .status;
  };
  EXPECT_EQ(join(firstUrl), 0);
  EXPECT_EQ(join(memberText(line, "url")), 0);
  first->signal(SIGTERM);
  EXPECT_EQ(first->wait().status, 0);
  const auto broker = memberText(line, "rtmUrl");
  EXPECT_EQ(
      runShell("mosquitto_pub -p " + broker.substr(broker.rfind(':') + 1) + " -t t -n").status, 0);
  second->signal(SIGTERM);
  EXPECT_EQ(second->wait().status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(DemoCommand, LeavesNothingBehindWhenItIsInterrupted) {
  const TemporaryFolder folder;
  const auto demo = startShell("export TMPDIR=" + folder.path().string() + "; exec \"$0\" demo");
  EXPECT_THAT(demo->nextLine(), HasSubstr("A sandbox starts"));
  EXPECT_FALSE(std::filesystem::is_empty(folder.path()));
  demo->signal(SIGTERM);
  EXPECT_EQ(demo->wait().status, 143);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(DemoCommand, LeavesItsSandboxToLookAroundInUntilItIsInterrupted) {
  const TemporaryFolder folder;
  const auto demo =
      startShell("export TMPDIR=" + folder.path().string() + "; exec \"$0\" demo --stay");
  std::string line, url;
  while (!(line = demo->nextLine()).empty() && url.empty())
    if (line.find("look around") != std::string::npos) url = line.substr(line.find("http"));
  EXPECT_EQ(runCommand({"--api", url, "--store", (folder / "new").string(), "user", "login-guest",
                        "--device-udid", "x"})
                .status,
            0);
  demo->signal(SIGINT);
  EXPECT_EQ(demo->wait().status, 0);
}

}  // namespace
}  // namespace zavelo::command

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "tests/tools/command_fixture.hpp"
#include "zavelo/json/json.hpp"

// How the command ends: signals, children, ports.

namespace zavelo::command {
namespace {

using testing::HasSubstr;

/// A backend that takes a call and never answers.
class SilentBackend {
 public:
  SilentBackend() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(listener_, 1), 0);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }
  ~SilentBackend() {
    close(call_);
    close(listener_);
  }
  [[nodiscard]] const std::string& url() const { return url_; }
  /// Waits until the first bytes of a call have come.
  void waitForCall() {
    call_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    char byte = 0;
    EXPECT_EQ(recv(call_, &byte, 1, 0), 1);
  }

 private:
  int listener_;
  int call_ = -1;
  std::string url_;
};

TEST(Interruption, CancelsTheCallUnderWay) {
  const TemporaryFolder folder;
  SilentBackend backend;
  const auto command = startCommand({"--api", backend.url(), "--store",
                                     (folder / "session.sqlite").string(), "user", "login-guest"});
  backend.waitForCall();
  command->signal(SIGINT);
  const auto outcome = command->wait();
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.error, "error: unknown (-2): cancelled\n");
}

std::string urlOf(ChildProcess& sandbox) {
  const auto line = json::decode<json::Value>(sandbox.firstLine());
  return line ? memberText(*line, "url") : std::string();
}

TEST(SandboxCommand, ServesUntilItIsTerminatedAndKeepsItsState) {
  const TemporaryFolder folder;
  const std::vector<std::string> line{"sandbox", "--port", "0", "--state",
                                      (folder / "new").string() + "/state.sqlite"};
  const std::vector<std::string> login{"user", "login", "--zavelo-id", "ann", "--password", "pw"};
  for (const std::string first : {"register", "login"}) {
    const auto sandbox = startCommand(line);
    const auto url = urlOf(*sandbox);
    if (first == "register") {
      EXPECT_EQ(runCommand({"--api", url, "call", "register-zavelo-user", "--parameters",
                            R"({"zaveloId":"ann","password":"pw"})"})
                    .status,
                0);
    }
    auto options = login;
    options.insert(options.end(), {"--api", url, "--store", (folder / "session").string()});
    EXPECT_EQ(runCommand(options).status, 0) << first;
    sandbox->signal(SIGTERM);
    const auto outcome = sandbox->wait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, "");
  }
}

TEST(SandboxCommand, SaysThatItsPortIsTaken) {
  const auto first = startCommand({"sandbox", "--port", "0", "--ephemeral"});
  const auto url = urlOf(*first);
  const auto second =
      runCommand({"sandbox", "--ephemeral", "--port", url.substr(url.rfind(':') + 1)});
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.error, HasSubstr(url.substr(url.rfind(':') + 1)));
  first->signal(SIGINT);
  EXPECT_EQ(first->wait().status, 0);
}

TEST(DemoCommand, LeavesNothingBehindWhenItIsInterrupted) {
  const TemporaryFolder folder;
  const auto shell = ChildProcess::start(
      "/bin/sh",
      {"-c", "export TMPDIR=" + folder.path().string() + "; exec \"$0\" demo", ZAVELO_COMMAND});
  ASSERT_TRUE(shell);
  EXPECT_THAT((*shell)->firstLine(), HasSubstr("A sandbox starts"));
  EXPECT_FALSE(std::filesystem::is_empty(folder.path()));
  (*shell)->signal(SIGTERM);
  EXPECT_EQ((*shell)->wait().status, 143);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace zavelo::command

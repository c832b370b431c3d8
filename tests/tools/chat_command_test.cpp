#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

#include "sandbox/broker/broker_process.hpp"
#include "tests/tools/command_fixture.hpp"
#include "tests/tools/pseudo_terminal.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

// Chat between processes, over a real broker.

namespace zavelo::command {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

class ChatCommandTest : public CommandTest {
 protected:
  void SetUp() override {
    auto sandbox = sandbox::Sandbox::start({.port = 0, .state = {}, .brokerPort = 0});
    ASSERT_TRUE(sandbox) << sandbox.error();
    sandbox_ = std::move(*sandbox);
    for (const char* name : {"ann", "bob"})
      ASSERT_EQ(runCommand(of(name, {"user", "login-guest", "--device-udid", name})).status, 0);
  }

  /// The command line of somebody with a session of their own.
  [[nodiscard]] std::vector<std::string> of(const std::string& name,
                                            std::vector<std::string> arguments) const {
    const std::vector<std::string> options{"--api",   sandbox_->url(),
                                           "--store", (folder_ / name).string(),
                                           "--rtm",   sandbox_->rtmUrl().value_or("")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }
  /// A chat that has been joined.
  [[nodiscard]] std::unique_ptr<ChildProcess> chat(const std::string& name,
                                                   std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"chat", "--channel", "c"});
    auto process = startCommand(of(name, std::move(arguments)));
    EXPECT_EQ(process->nextLine(), R"({"channel":"c","kind":"joined"})");
    return process;
  }
};

TEST_F(ChatCommandTest, CarriesWhatIsSaidToOthersWhoSaveIt) {
  const auto saved = (folder_ / "chat.json").string();
  const auto lines = (folder_ / "lines").string();
  std::ofstream(lines) << "one\n\ntwo";
  const auto bob = chat("bob", {"--exit-after", "3", "--save", saved});
  const auto said = chat("ann", {"--send-file", lines, "--exit-after", "0s"})->wait();
  EXPECT_EQ(said.status, 0) << said.error;
  EXPECT_THAT(said.output, HasSubstr("\"two\""));
  const auto sent = runCommand(of("ann", {"chat", "send", "--channel", "c", "--type", "gift",
                                          "--gift-name", "Rose", "--gift-count", "3"}));
  EXPECT_EQ(sent.status, 0) << sent.error;
  const auto heard = bob->wait();
  EXPECT_EQ(heard.status, 0) << heard.error;
  const auto isAll =
      AllOf(HasSubstr("\"one\""), HasSubstr("\"two\""), HasSubstr("\"kind\":\"gift\""));
  EXPECT_THAT(heard.output, AllOf(isAll, HasSubstr("\"giftName\":\"Rose\"")));
  EXPECT_THAT(runCommand({"replay", saved, "--speed", "max"}).output, isAll);
}

TEST_F(ChatCommandTest, SaysWhyItWaitsForItsBrokerAndJoinsOnceThatIsThere) {
  const auto port = sandbox::BrokerProcess::start({}).value()->port();
  auto arguments = of("bob", {"chat", "--channel", "c", "--exit-after", "0s"});
  arguments.back() = "mqtt://127.0.0.1:" + std::to_string(port);
  const auto alone = runCommand(arguments);
  EXPECT_EQ(alone.status, 1);
  EXPECT_THAT(alone.error, HasSubstr(arguments.back() + ": connection refused; still trying"));
  arguments[4] = "1";
  const auto bob = startCommand(arguments);
  auto broker = sandbox::BrokerProcess::start({.port = port, .master = "eve"}).value();
  EXPECT_EQ(bob->nextLine(), R"({"channel":"c","kind":"joined"})");
  EXPECT_THAT(bob->nextLine(), HasSubstr(R"("kind":"members")"));
  broker.reset();
  EXPECT_THAT(bob->nextLine(), HasSubstr(R"({"channel":"c","kind":"interrupted","problem":")"));
  broker = sandbox::BrokerProcess::start({.port = port, .master = "eve"}).value();
  EXPECT_THAT(bob->nextLine(), HasSubstr(R"({"channel":"c","kind":"resumed","from":)"));
  const auto topic = mqttChannelTopic("", "c", "eve");
  const auto said = ChildProcess::start(
      "/usr/bin/mosquitto_pub",
      {"-V", "5", "-p", std::to_string(port), "-u", "eve", "-t", topic, "-m",
       R"({"type":1,"message":"{\"senderUserId\":7,\"message\":\"as Ann\"}"})"});
  EXPECT_EQ((*said)->wait().status, 0);
  EXPECT_THAT(bob->wait().output,
              HasSubstr(R"("kind":"message","senderId":"eve","senderUserId":7)"));
}

TEST_F(ChatCommandTest, EndsByAnInterruptionOrASignInElsewhere) {
  const auto bob = chat("bob");
  const auto ann = chat("ann");
  const auto members = runCommand(of("ann", {"chat", "members", "--channel", "c"}));
  EXPECT_THAT(members.output, MatchesRegex("\\[\"[0-9]+\",\"[0-9]+\"\\]\n"));
  const auto replaced = ann->wait();
  EXPECT_EQ(replaced.status, 1);
  EXPECT_EQ(replaced.error, "error: chat: signed in elsewhere\n");
  bob->signal(SIGINT);
  const auto ended = bob->wait();
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.error, "");
}

TEST_F(ChatCommandTest, ShowsAStreamsStatisticsBesideTheClockOfATerminal) {
  auto words = of("bob", {"chat", "--channel", "c"});
  words.insert(words.begin(), ZAVELO_COMMAND);
  PseudoTerminal terminal(words, 80);
  ASSERT_TRUE(terminal.shows("* joined c\r\n")) << terminal.output();
  const auto send = [this](std::vector<std::string> event) {
    event.insert(event.begin(), {"chat", "send", "--channel", "c", "--type"});
    EXPECT_EQ(runCommand(of("ann", std::move(event))).status, 0);
  };
  send({"statistic", "--total-viewers", "12"});
  send({"gift", "--gift-name", "Rose"});
  ASSERT_TRUE(terminal.shows("1 x Rose\r\n")) << terminal.output();
  ASSERT_TRUE(terminal.shows(" (12 viewers) > ")) << terminal.output();
  EXPECT_THAT(terminal.output(), testing::Not(HasSubstr("[statistic]")));
  terminal.type("hello\r");
  ASSERT_TRUE(terminal.shows(": hello\r\n")) << terminal.output();
  terminal.type("\x04");  // Ctrl-D
  EXPECT_EQ(terminal.wait(), 0) << terminal.output();
  EXPECT_TRUE(terminal.isCanonical());
}

}  // namespace
}  // namespace zavelo::command

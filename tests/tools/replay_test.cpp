#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <limits>

#include "support/loopback_server.hpp"
#include "tests/tools/command_fixture.hpp"
#include "tests/tools/pseudo_terminal.hpp"
#include "tools/zavelo/chat/replay_controls.hpp"
#include "tools/zavelo/terminal/clock_text.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"

namespace zavelo::command {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

constexpr auto longAgo = std::numeric_limits<std::int64_t>::min();
constexpr auto farAhead = std::numeric_limits<std::int64_t>::max();
constexpr auto atOnce = std::numeric_limits<double>::infinity();

class PacedReplayTest : public ::testing::Test {
 protected:
  void start(const std::vector<std::optional<std::int64_t>>& times, PacedReplay::Pace pace) {
    ZVRecordedMessages events;
    for (const auto& time : times) {
      events.push_back(std::make_shared<ZVStreamMessage>());
      events.back()->recordedTime = time;
    }
    shown_.clear();
    replay_ = PacedReplay::create(std::move(events), pace, queue_, clock_);
    replay_->start({.event =
                        [this](const ZVStreamMessage& event) {
                          shown_ += event.recordedTime ? std::to_string(*event.recordedTime) : "-";
                          shown_ += ' ';
                        },
                    .moment = [] {},
                    .end = [this] { shown_ += "end"; }});
  }
  void pass(std::chrono::milliseconds time) {
    for (auto passed = 0ms; passed < time; passed += 10ms) {
      clock_->advance(10ms);
      queue_->advance(10ms);
    }
  }

  const std::shared_ptr<testing::ManualQueue> queue_ = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<testing::ManualClock> clock_ = std::make_shared<testing::ManualClock>();
  std::shared_ptr<PacedReplay> replay_;
  std::string shown_;
};

TEST_F(PacedReplayTest, ShowsEachEventWhenItsMomentHasCome) {
  start({9000, 5000, {}}, {.speed = 10, .from = {}});
  EXPECT_EQ(shown_, "- 5000 ");
  pass(390ms);
  EXPECT_EQ(shown_, "- 5000 ");
  EXPECT_EQ(replay_->position(), 8900);
  pass(10ms);
  EXPECT_EQ(shown_, "- 5000 9000 end");
}

TEST_F(PacedReplayTest, BeginsWhereItIsToldTo) {
  start({5000, 9000, {}}, {.speed = 1, .from = 8000});
  pass(990ms);
  EXPECT_EQ(shown_, "");
  pass(10ms);
  EXPECT_EQ(shown_, "9000 end");
  start({5000}, {.speed = 1, .from = 6000});
  EXPECT_EQ(shown_, "end");
}

TEST_F(PacedReplayTest, TakesAnyTimesAndSpeeds) {
  start({farAhead, longAgo}, {.speed = atOnce, .from = {}});
  EXPECT_EQ(shown_, std::to_string(longAgo) + " " + std::to_string(farAhead) + " end");
  start({farAhead, longAgo}, {.speed = 1e300, .from = {}});
  pass(10ms);
  EXPECT_THAT(shown_, HasSubstr("end"));
  start({farAhead, longAgo}, {.speed = 1e-300, .from = {}});
  pass(1s);
  EXPECT_EQ(shown_, std::to_string(longAgo) + " ");
  start({}, {.speed = 1, .from = {}});
  EXPECT_EQ(shown_, "end");
}

TEST_F(PacedReplayTest, ShowsNothingOnceItIsStopped) {
  start({1, 20}, {.speed = 1, .from = {}});
  replay_->stop();
  pass(1s);
  EXPECT_EQ(shown_, "1 ");
}

TEST_F(PacedReplayTest, PausesSeeksAndChangesThePace) {
  start({0, 5000, 20'000, 90'000}, {.speed = 1, .from = {}});
  ReplayControls controls(*replay_);
  pass(1s);
  controls.take(" ");
  pass(10s);
  EXPECT_EQ(replay_->position(), 1000);
  EXPECT_EQ(queue_->pending(), 0U);
  EXPECT_EQ(progressText(*replay_, 80),
            "[" + std::string(40, '.') + "] 00:00:01 / 00:01:30 paused");
  controls.take("\x1b[");
  controls.take("C \x1bOD?\x1b[D");  // over 5000, and back beyond the beginning
  EXPECT_EQ(replay_->position(), 0);
  EXPECT_EQ(shown_, "0 0 ");
  controls.take("+=+");
  EXPECT_EQ(progressText(*replay_, 39), "[..............] 00:00:00 / 00:01:30 x8");
  EXPECT_EQ(progressText(*replay_, 10), "00:00:00 /");
  pass(2500ms);
  EXPECT_EQ(shown_, "0 0 5000 20000 ");
  controls.take("---");
  pass(1s);
  EXPECT_EQ(replay_->position(), 21'000);
  for (int i = 0; i < 7; ++i) controls.take("\x1b[C");
  EXPECT_EQ(shown_, "0 0 5000 20000 90000 end");
  start({longAgo, 0, farAhead}, {.speed = 1, .from = 0});
  controls.take("");
  replay_->seekBy(-1);
  replay_->seekBy(longAgo);
  EXPECT_EQ(replay_->position(), longAgo);
}

TEST(ClockText, IsReadAsAPersonWritesIt) {
  EXPECT_EQ(millisecondsOf("90"), 90'000);
  EXPECT_EQ(millisecondsOf("1.5"), 1500);
  EXPECT_EQ(millisecondsOf("1:02:05"), 3'725'000);
  for (const char* text :
       {"", ":", "1:", ":1", "1:2:3:4", "-1", "1e3", "1s", "99999999999", "1.2.3"})
    EXPECT_EQ(millisecondsOf(text), std::nullopt) << text;
}

TEST(ReplayCommand, PlaysFilesAndUrlsAndSaysWhyItDoesNot) {
  const test::LoopbackServer server([](const auto& request, test::ServerConnection& connection) {
    const bool isThere = request.target == "/chat.json";
    connection.reply(isThere ? 200 : 404, R"([{"messageType":3,"recordedTime":5000}])");
  });
  const auto played = runCommand({"replay", server.url("/chat.json"), "--from", "0:05"});
  EXPECT_EQ(played.status, 0);
  EXPECT_THAT(played.output, HasSubstr(R"({"kind":"like",)"));
  EXPECT_EQ(runCommand({"replay", server.url("/chat.json"), "--from", "6"}).output, "");

  const TemporaryFolder folder;
  const auto path = (folder / "chat.json").string();
  std::ofstream(path) << R"([{"message":1}])";
  for (const auto& [address, reason] : std::vector<std::pair<std::string, std::string>>{
           {path, "[0].message: expected text"},
           {path + "x", "No such file"},
           {"ftp://127.0.0.1/", "not a path, file URL, http or https URL"},
           {server.url("/none"), "HTTP status 404"}}) {
    const auto outcome = runCommand({"replay", address});
    EXPECT_EQ(outcome.status, 1) << address;
    EXPECT_THAT(outcome.error, HasSubstr("error: replay: " + address + ": " + reason));
  }
}

TEST(ReplayCommand, EndsAtAnInterruption) {
  const TemporaryFolder folder;
  const auto path = (folder / "chat.json").string();
  std::ofstream(path) << R"([{"recordedTime":0},{"recordedTime":999999999}])";
  const auto command = startCommand({"replay", path});
  EXPECT_THAT(command->nextLine(), HasSubstr("\"message\""));
  command->signal(SIGINT);
  EXPECT_EQ(command->wait().status, 130);
}

/// A recording in which an event follows every two seconds, of wide characters.
std::string longRecording(const TemporaryFolder& folder) {
  const auto path = (folder / "chat.json").string();
  std::ofstream file(path);
  file << R"([{"message":"\u4f60\u597d","recordedTime":0})";
  for (int time = 2'000; time < 100'000; time += 2'000)
    file << R"(,{"message":"\u4f60\u597d )" << time << R"(","recordedTime":)" << time << "}";
  file << R"(,{"message":"last","recordedTime":3600000}])";
  return path;
}

TEST(ReplayCommand, KeysOnATerminalSteerIt) {
  const TemporaryFolder folder;
  PseudoTerminal terminal({ZAVELO_COMMAND, "replay", longRecording(folder)}, 40);
  ASSERT_TRUE(terminal.shows("\u4f60\u597d\r\n")) << terminal.output();
  terminal.type(" ");
  ASSERT_TRUE(terminal.shows("paused")) << terminal.output();
  EXPECT_FALSE(terminal.isCanonical());
  terminal.type("\x1b[C\x1b[C+");
  ASSERT_TRUE(terminal.shows("00:00:20 / 01:00:00 x2 paused")) << terminal.output();
  terminal.type("\x1b[D ");
  ASSERT_TRUE(terminal.shows("12000\r\n")) << terminal.output();
  terminal.type("-");
  for (int i = 0; i < 400; ++i) terminal.type("\x1b[C");
  EXPECT_EQ(terminal.wait(), 0) << terminal.output();
  EXPECT_THAT(terminal.output(), HasSubstr("last\r\n"));
  EXPECT_TRUE(terminal.isCanonical());
  // Between two rewritings of the line there is never more than fits.
  for (const auto& piece : terminal.progressLines()) EXPECT_LE(piece.size(), 39U) << piece;
}

TEST(ReplayCommand, TheTerminalIsRestoredHoweverItEndsOrIsSuspended) {
  const TemporaryFolder folder;
  const auto path = longRecording(folder);
  for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGABRT, SIGSEGV, SIGHUP}) {
    PseudoTerminal terminal({ZAVELO_COMMAND, "replay", path}, 80);
    ASSERT_TRUE(terminal.shows("\u4f60\u597d\r\n")) << terminal.output();
    ASSERT_FALSE(terminal.isCanonical());
    terminal.signal(signal);
    EXPECT_NE(terminal.wait(), 0);
    EXPECT_TRUE(terminal.isCanonical()) << signal;
  }
  PseudoTerminal terminal({ZAVELO_COMMAND, "replay", path}, 80);
  ASSERT_TRUE(terminal.shows("\u4f60\u597d\r\n")) << terminal.output();
  terminal.type("\x1a");  // Ctrl-Z
  ASSERT_TRUE(terminal.isSuspended());
  EXPECT_TRUE(terminal.isCanonical());
  terminal.signal(SIGCONT);
  ASSERT_TRUE(terminal.becomesCanonical(false));
  terminal.type("\x03");  // Ctrl-C
  EXPECT_EQ(terminal.wait(), 130);
  EXPECT_TRUE(terminal.isCanonical());
}

}  // namespace
}  // namespace zavelo::command

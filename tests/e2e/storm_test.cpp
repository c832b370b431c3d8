#include <gtest/gtest.h>

#include <cstdlib>

#include "support/child_process.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo::testing {
namespace {

using test::ChildProcess;

constexpr std::size_t messages = 50'000;

std::string envelopeOf(std::string line) {
  ZVStreamMessage event;
  event.messageType = rawValue(ZVMessageType::message);
  event.message = std::move(line);
  return ZVMessage(event).toJsonString().value();
}

/// Says all lines as fast as the broker takes them, and asks for the memory early and at the end.
class Speaker {
 public:
  explicit Speaker(const std::string& address) : user_({.address = address}, "speaker") {
    EXPECT_EQ(user_.login(), 0);
    EXPECT_EQ(user_.join("storm"), 0);
    channel_ = user_.kit->createChannel("storm", user_.ears);
  }
  void storm() {
    for (std::size_t i = 0; i < messages; ++i) {
      if (i == messages / 5) say("memory");
      say("line " + std::to_string(i));
    }
    say("memory");
    EXPECT_TRUE(waitFor([this] { return open_ == 0; }));
    EXPECT_EQ(refused_, 0u);
  }

 private:
  void say(std::string line) {
    waitFor([this] { return open_ < 1'000; });
    ++open_;
    channel_->send(envelopeOf(std::move(line)), [this](std::int64_t code) {
      if (code != rtmCode::success) ++refused_;
      --open_;
    });
  }

  MqttUser user_;
  std::shared_ptr<AgoraRtmChannel> channel_;
  std::atomic<std::size_t> open_ = 0;
  std::atomic<std::size_t> refused_ = 0;
};

std::size_t memoryIn(const std::string& line) {
  EXPECT_EQ(line.find("memory "), 0u) << line;
  return std::strtoull(line.c_str() + 7, nullptr, 10);
}

TEST(Storm, ReachesAViewerWholeAndInOrderAndLeavesNothingBehind) {
  const auto broker = startBroker();
  ChildProcess viewer({ZAVELO_STORM_VIEWER, addressOf(*broker), "storm"});
  ASSERT_EQ(viewer.readLine(), "in");
  Speaker speaker(addressOf(*broker));
  std::thread speaking([&] { speaker.storm(); });

  std::size_t early = 0;
  std::size_t wrong = 0;
  for (std::size_t i = 0; i < messages; ++i) {
    if (i == messages / 5) early = memoryIn(viewer.readLine());
    if (viewer.readLine() != "speaker: line " + std::to_string(i)) ++wrong;
  }
  const std::size_t late = memoryIn(viewer.readLine());
  speaking.join();
  EXPECT_EQ(wrong, 0u);
  EXPECT_LT(late, early + std::size_t{1024} * 1024);
}

}  // namespace
}  // namespace zavelo::testing

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "support/child_process.hpp"
#include "tests/messaging/crowd.hpp"
#include "zavelo/core/sdk.hpp"

// ZAVELO_CROWD says how many users join, ZAVELO_CROWD_PROCESSES from how many further processes,
// ZAVELO_CROWD_PAUSE how many microseconds after each other the users of a process do.

namespace zavelo::testing {
namespace {

std::size_t numberFrom(const char* variable, std::size_t otherwise) {
  const char* text = std::getenv(variable);
  return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

/// With some users in this process, and as many in each of some others.
void bringIn(std::size_t share, std::size_t processes) {
  const std::chrono::microseconds pause(numberFrom("ZAVELO_CROWD_PAUSE", 0));
  const auto broker = startBroker();
  MqttUser host({.address = addressOf(*broker)}, "host");
  ASSERT_EQ(host.login(), 0);
  ASSERT_EQ(host.join("start"), 0);
  std::deque<test::ChildProcess> others;
  while (others.size() < processes)
    others.emplace_back(std::vector<std::string>{
        ZAVELO_MQTT_CHILD, addressOf(*broker), "process" + std::to_string(others.size()) + "user",
        "crowd", std::to_string(share), std::to_string(pause.count())});
  Crowd crowd(addressOf(*broker), "user", static_cast<int>(share));
  const auto login = crowd.login(pause).count();
  const auto againLogins = crowd.failed();
  for (auto& other : others) ASSERT_EQ(other.readLine(), "ready");
  ASSERT_EQ(host.say("start", "go"), 0);
  auto last = crowd.join(pause).count();
  auto failed = crowd.failed();
  for (auto& other : others) {
    last = std::max(last, std::stod(other.readLine()));
    failed += std::stoul(other.readLine());
  }
  const auto all = share * (processes + 1);
  std::printf(
      "%zu users, %zu processes: logged in after %.1f s (%zu again), joined after %.1f s, "
      "%zu failed\n",
      all, processes + 1, login, againLogins, last, failed);
  ASSERT_EQ(failed, 0U);
  // A join is complete when texts arrive.
  ASSERT_EQ(host.join("c"), 0);
  ASSERT_EQ(host.say("c", "welcome"), 0);
  EXPECT_TRUE(waitFor([&] { return crowd.heard("c host: welcome") == share; }));
  EXPECT_TRUE(waitFor([&] { return host.members("c").size() == all + 1; }));
}

TEST(MqttCrowd, AllWhoJoinAtOnceAreInWithDefaultTimeOuts) {
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({}), /*enableLog=*/false);
  const auto size = numberFrom("ZAVELO_CROWD", 300);
  const auto others = numberFrom("ZAVELO_CROWD_PROCESSES", 1);
  if (others == 1) bringIn(size, 0);
  bringIn(size / (others + 1), others);
}

}  // namespace
}  // namespace zavelo::testing

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/messaging/mqtt_world.hpp"

// What an idle client costs a device: how often its thread wakes. ZAVELO_WAKE_UP_SECONDS says how
// long that is counted.

namespace zavelo::testing {
namespace {

std::set<std::string> threads() {
  std::set<std::string> ids;
  for (const auto& each : std::filesystem::directory_iterator("/proc/self/task"))
    ids.insert(each.path().filename());
  return ids;
}

/// How often a thread has gone to sleep of its own accord.
int sleeps(const std::string& thread) {
  std::ifstream status("/proc/self/task/" + thread + "/status");
  int count = 0;
  for (std::string word; status >> word;)
    if (word == "voluntary_ctxt_switches:") status >> count;
  return count;
}

/// A user who is logged in, with a channel or without, and the user's thread.
struct Idle {
  Idle(const std::string& address, bool hasChannel, bool isInBackground)
      : name(std::string(hasChannel ? "two connections" : "one connection") +
             (isInBackground ? ", background" : ", foreground")),
        before(threads()),
        user({.address = address}, name) {
    for (const auto& each : threads())
      if (!before.contains(each)) thread = each;
    EXPECT_EQ(user.login(), 0);
    if (hasChannel) {
      EXPECT_EQ(user.join(name), 0);
    }
    user.kit->setInBackground(isInBackground);
  }
  const std::string name;
  const std::set<std::string> before;
  MqttUser user;
  std::string thread;
  int count = 0;
};

TEST(MqttWakeUps, AreAtMostFourAMinuteInTheBackground) {
  const char* given = std::getenv("ZAVELO_WAKE_UP_SECONDS");
  const std::chrono::duration<double> time(given != nullptr ? std::atoi(given) : 60);
  const auto broker = startBroker();
  std::deque<Idle> clients;
  for (const bool isInBackground : {false, true})
    for (const bool hasChannel : {false, true})
      clients.emplace_back(addressOf(*broker), hasChannel, isInBackground);
  // Until the list of members has been read again, which a join does once.
  std::this_thread::sleep_for(std::chrono::seconds(20));
  for (auto& each : clients) each.count = sleeps(each.thread);
  std::this_thread::sleep_for(time);
  for (auto& each : clients) {
    const double perMinute = (sleeps(each.thread) - each.count) * 60.0 / time.count();
    std::printf("%s: %.1f wake-ups a minute\n", each.name.c_str(), perMinute);
    if (&each == &clients.back()) {
      EXPECT_LE(perMinute, 4);
    }
  }
}

}  // namespace
}  // namespace zavelo::testing

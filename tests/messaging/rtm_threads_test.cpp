#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <thread>

#include "tests/messaging/fixed_user.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/rtm_client.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/manual_clock.hpp"

// Four threads at once on one messaging client. The sanitizers find a lock that is missing; the
// counts find an answer that is missing.

namespace zavelo {
namespace {

constexpr int rounds = 300;

struct CountingDelegate final : ZVRTMClientDelegate {
  void didReceiveChannelMessage(const std::string&, const std::string&) override { ++events; }
  void didReceivePeerMessage(const std::string&, const std::string&) override { ++events; }
  void memberJoined(const std::string&, const std::string&) override { ++events; }
  void memberLeft(const std::string&, const std::string&) override { ++events; }
  void statusChanged(const ZVRTMStatus&) override { ++events; }
  std::atomic<int> events{0};
};

std::shared_ptr<ZVRTMClient> clientOf(InProcessHub& hub, const test::FixedUser& user,
                                      const std::shared_ptr<MainQueue>& queue) {
  return ZVRTMClient::create({hub.kitFactory(), &user, queue,
                              std::make_shared<NotificationCentre>(),
                              std::make_shared<testing::ManualClock>()});
}

TEST(RtmThreads, LoginsChannelsTextsAndCancellationsShareNothingUnguarded) {
  ZaveloSDK::shared().initWith(ZVEnvironment::demo(), /*enableLog=*/false, "app");
  const auto hub = InProcessHub::create();
  const auto queue = std::make_shared<MainQueue>();
  const test::FixedUser user = test::FixedUser::member(7);
  const auto client = clientOf(*hub, user, queue);
  std::thread main([&] { queue->run(); });
  std::atomic<int> asked{0};
  std::atomic<int> answered{0};
  const auto count = [&](const auto&) { ++answered; };
  const std::array delegates{std::make_shared<CountingDelegate>(),
                             std::make_shared<CountingDelegate>()};
  const std::vector<std::function<void(int)>> work{
      [&](int round) {
        ++asked;
        const ZVCall call = client->writeChannel("c", std::to_string(round), count);
        if (round % 4 == 0) call.cancel();
        if (round % 3 == 0) client->login({}, &retryUntilSuccess);
      },
      [&](int round) {
        if (round % 3 == 0) return client->leaveChannel("c", true);
        client->joinChannel("c", client, {}, {});
      },
      [&](int round) {
        if (round % 5 == 0) return client->logout();
        client->login({}, &retryUntilSuccess);
        (void)client->status();
      },
      [&](int round) {
        client->setDelegate(delegates[static_cast<std::size_t>(round % 2)]);
        client->setInBackground(round % 2 == 0);
        (void)client->connectStatus();
        ++asked;
        client->getMembersOfChannel(
            "c", [&](const Result<std::vector<std::string>, ZVError>&) { ++answered; });
      }};
  std::vector<std::thread> threads;
  for (const auto& each : work)
    threads.emplace_back([&each] {
      for (int round = 0; round < rounds; ++round) each(round);
    });
  for (auto& thread : threads) thread.join();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (answered < asked && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_EQ(answered, asked);
  queue->stop();
  main.join();
}

// What is made at the first login is unguarded only for a moment.
TEST(RtmThreads, FirstLoginsAtOnceShareNothingUnguarded) {
  ZaveloSDK::shared().initWith(ZVEnvironment::demo(), /*enableLog=*/false, "app");
  const auto hub = InProcessHub::create();
  const test::FixedUser user = test::FixedUser::member(7);
  for (int round = 0; round < rounds; ++round) {
    const auto client = clientOf(*hub, user, std::make_shared<MainQueue>());
    std::barrier start(2);
    const auto login = [&] {
      start.arrive_and_wait();
      client->login({}, &retryUntilSuccess);
    };
    std::thread other(login);
    login();
    other.join();
  }
}

}  // namespace
}  // namespace zavelo

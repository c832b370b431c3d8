#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "zavelo/platform/background_queue.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

// Four threads at once on what they share. The sanitizers find a lock that is missing; the counts
// find an answer that is missing.

namespace zavelo {
namespace {

constexpr int rounds = 400;

/// Answers each request on a thread of its own: renewals with tokens, others with 401 or success in
/// turn.
class BusyBackend final : public HttpSession {
 public:
  std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) override {
    const auto call = std::make_shared<Call>();
    const bool isRenewal = request.url.ends_with("/refresh");
    HttpReply reply;
    reply.status = !isRenewal && ++count_ % 3 == 0 ? 401 : 200;
    reply.body = isRenewal ? R"({"code":1,"data":{"accessToken":"a","refreshToken":"r"}})"
                           : R"({"code":1,"data":true})";
    thread_.post([call, reply = std::move(reply), done = std::move(done)]() mutable {
      if (call->isCancelled) reply = {std::nullopt, {}, "", HttpFailure{}};
      done(std::move(reply));
    });
    return call;
  }

 private:
  struct Call final : HttpTask {
    void cancel() override { isCancelled = true; }
    std::atomic<bool> isCancelled{false};
  };
  std::atomic<int> count_{0};
  BackgroundQueue thread_;
};

std::shared_ptr<ZVUser> member(const std::string& name) {
  auto user = std::make_shared<ZVUser>();
  user->userInfo = std::make_shared<ZVUserInfo>();
  user->userInfo->userName = name;
  user->accessToken = name;
  user->refreshToken = "r";
  return user;
}

void onFourThreads(const std::function<void(int thread, int round)>& work) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&work, thread] {
      for (int round = 0; round < rounds; ++round) work(thread, round);
    });
  for (auto& thread : threads) thread.join();
}

class PolicyThreads : public ::testing::TestWithParam<ZVSessionPolicy> {};

TEST_P(PolicyThreads, CallsSignInsRenewalsAndCancellationsShareNothingUnguarded) {
  const auto queue = std::make_shared<MainQueue>();
  const auto store = std::make_shared<testing::MemoryKeyValueStore>();
  const auto api = ZVAPIService::create({std::make_shared<BusyBackend>(), queue,
                                         std::make_shared<NotificationCentre>(),
                                         std::make_shared<testing::ManualClock>()});
  api->setServiceLogLevel(ZVAPIService::APILogLevel::none);
  api->setSessionPolicy(GetParam());
  const auto users = ZVUserService::create({api, store, nullptr});
  std::atomic<int> asked{0};
  std::atomic<int> answered{0};
  const auto count = [&](const auto&) { ++answered; };
  std::mutex mutex;
  ZVCall latest;
  std::thread main([&] { queue->run(); });

  onFourThreads([&](int thread, int round) {
    if (thread == 0) {
      ++asked;
      const ZVCall call = users->updatePromoCode("P", "", count);
      if (round % 4 == 0) call.cancel();
      (void)users->naughtyWords();
      const std::lock_guard lock(mutex);
      latest = call;
    } else if (thread == 1) {
      round % 3 == 0 ? users->endSession() : users->setUser(member(std::to_string(round % 2)));
      if (round % 50 == 0) ++asked, users->logoutZavelo(count);
    } else if (thread == 2) {
      if (round % 8 == 0) {
        ++asked;
        const ZVCall renewal = users->refreshToken("r", count);
        if (round % 16 == 0) renewal.cancel();
      }
      users->updateUser(member("0"));
      users->refreshTokenWith({"b", "r", std::to_string(round)});
    } else {
      (void)users->accessToken();
      (void)users->isGuest();
      (void)users->storeProblem();
      users->saveNaughtyWords({std::to_string(round)});
      EXPECT_EQ(users->naughtyWords().size(), 1u);
      api->setSessionSource(users);
      const ZVCall other = [&] {
        const std::lock_guard lock(mutex);
        return latest;
      }();
      if (round % 2 == 0) other.cancel();
    }
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while ((answered < asked || api->callsUnderWay() > 0) &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::yield();
  EXPECT_EQ(answered, asked);
  queue->stop();
  main.join();
  EXPECT_EQ(api->callsUnderWay(), 0u) << "each call is forgotten when it has been answered";

  EXPECT_EQ(store->get("ZVUser").value().has_value(), users->isLogin())
      << "memory and store say the same";
}

INSTANTIATE_TEST_SUITE_P(SessionThreads, PolicyThreads,
                         ::testing::Values(ZVSessionPolicy::asSpecified,
                                           ZVSessionPolicy::resilient));

/// Lets another thread cancel the call in the moment in which it is sent again.
class MeetingPoint final : public HttpSession {
 public:
  std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) override {
    const auto task = script->send(std::move(request), std::move(done));
    if (script->requests().size() == 3) {
      // Relaxed: the two threads must not be put in an order by this.
      isSent.store(true, std::memory_order_relaxed);
      while (!isCancelled.load(std::memory_order_relaxed)) std::this_thread::yield();
    }
    return task;
  }
  const std::shared_ptr<testing::ScriptedHttpSession> script =
      std::make_shared<testing::ScriptedHttpSession>();
  std::atomic<bool> isSent{false};
  std::atomic<bool> isCancelled{false};
};

TEST(SessionThreads, ACallMayBeCancelledAsItIsSentAgain) {
  const auto queue = std::make_shared<testing::ManualQueue>();
  const auto http = std::make_shared<MeetingPoint>();
  const auto api = ZVAPIService::create({http, queue, std::make_shared<NotificationCentre>(),
                                         std::make_shared<testing::ManualClock>()});
  api->setServiceLogLevel(ZVAPIService::APILogLevel::none);
  const auto users =
      ZVUserService::create({api, std::make_shared<testing::MemoryKeyValueStore>(), nullptr});
  users->setUser(member("ann"));
  int answered = 0;
  const ZVCall call = users->updatePromoCode("P", "", [&](const auto& result) {
    EXPECT_EQ(result.error().description, "cancelled");
    ++answered;
  });
  http->script->reply(401, "");
  http->script->reply(200, R"({"code":1,"data":{"accessToken":"a","refreshToken":"r"}})");
  std::thread other([&] {
    while (!http->isSent.load(std::memory_order_relaxed)) std::this_thread::yield();
    call.cancel();
    http->isCancelled.store(true, std::memory_order_relaxed);
  });
  queue->runDue();
  other.join();
  queue->runDue();
  EXPECT_EQ(answered, 1);
}

}  // namespace
}  // namespace zavelo

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/manual_queue.hpp"

namespace zavelo {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""h;
using ::testing::ElementsAre;

TEST(MainQueue, PollRunsWhatIsDueInOrderAndLeavesTheRest) {
  MainQueue queue;
  std::vector<int> ran;
  queue.post([&] {
    ran.push_back(1);
    queue.post([&] { ran.push_back(3); });
  });
  queue.post([&] { ran.push_back(2); });
  queue.postAfter(1h, [&] { ran.push_back(4); });
  EXPECT_EQ(queue.poll(), 2U);
  EXPECT_THAT(ran, ElementsAre(1, 2));
  EXPECT_EQ(queue.poll(), 1U);
  EXPECT_EQ(queue.poll(), 0U);
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TEST(MainQueue, RunWaitsForPostsAndTimersUntilItIsStopped) {
  MainQueue queue;
  std::vector<int> ran;
  std::thread poster([&] {
    queue.post([&] {
      ran.push_back(1);
      queue.postAfter(1ms, [&] {
        ran.push_back(3);
        queue.stop();
        queue.post([&] { ran.push_back(4); });
      });
      queue.post([&] { ran.push_back(2); });
    });
  });
  queue.run();
  poster.join();
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
  queue.stop();
  queue.run();  // returns at once
  EXPECT_EQ(ran.size(), 3U);
  EXPECT_EQ(queue.poll(), 1U);
}

TEST(MainQueue, ExecutorGetsWhatWasQueuedFirstAndTimersToo) {
  MainQueue queue;
  std::mutex mutex;
  std::vector<std::string> order;
  std::promise<void> timerRan;
  const auto note = [&](std::string what) {
    return [&order, &mutex, what] {
      const std::lock_guard lock(mutex);
      order.push_back(what);
    };
  };
  queue.post(note("queued"));
  queue.postAfter(1h, note("late"));
  queue.setExecutor([](QueueTask task) { task(); });
  queue.post(note("posted"));
  queue.postAfter(1ms, [&] {
    note("timer")();
    timerRan.set_value();
  });
  timerRan.get_future().wait();
  const std::lock_guard lock(mutex);
  EXPECT_THAT(order, ElementsAre("queued", "posted", "timer"));
}

TEST(MainQueue, CancelledClosureIsDestroyedAtOnceAndNeverRuns) {
  MainQueue queue;
  const auto witness = std::make_shared<int>();
  bool ran = false;
  const auto late = queue.postAfter(1h, [&ran, witness] { ran = true; });
  const auto due = queue.postAfter(0ms, [&ran, witness] { ran = true; });
  queue.post([&] { due->cancel(); });
  late->cancel();
  EXPECT_EQ(witness.use_count(), 2);
  queue.poll();
  queue.poll();
  EXPECT_EQ(witness.use_count(), 1);
  EXPECT_FALSE(ran);
  due->cancel();
}

TEST(MainQueue, StaysUsableAfterAClosureThatThrows) {
  MainQueue queue;
  bool ran = false;
  queue.post([] { throw std::runtime_error("mistake"); });
  queue.post([&] {
    ran = true;
    queue.stop();
  });
  EXPECT_THROW(queue.run(), std::runtime_error);
  queue.run();
  EXPECT_TRUE(ran);
}

TEST(MainQueue, DestroysWhatHasNotRunWhichMayPostAgain) {
  const auto witness = std::make_shared<int>();
  std::shared_ptr<DelayedTask> handle;
  {
    MainQueue queue;
    const auto postAgain = [&](int*) { queue.post([] { FAIL(); }); };
    int anything = 0;
    queue.post([witness] {});
    queue.post([last = std::shared_ptr<int>(&anything, postAgain)] {});
    handle = queue.postAfter(1h, [witness] {});
  }
  handle->cancel();
  EXPECT_EQ(witness.use_count(), 1);
}

TEST(MainQueue, MayBeDestroyedByItsClosures) {
  auto queue = std::make_unique<MainQueue>();
  queue->post([&] { queue.reset(); });
  queue->post([] { FAIL(); });
  queue->run();
  EXPECT_FALSE(queue);
}

TEST(MainQueue, RunsEveryPostOfManyThreads) {
  MainQueue queue;
  int ran = 0;
  std::atomic<int> posting{4};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 500; ++k) {
        queue.post([&] { ++ran; });
        const auto handle = queue.postAfter(0ms, [&] { ++ran; });
        if (k % 2 == 0) handle->cancel();
      }
      if (--posting == 0) queue.postAfter(0ms, [&] { queue.post([&] { queue.stop(); }); });
    });
  }
  queue.run();
  for (auto& thread : threads) thread.join();
  EXPECT_GE(ran, 4 * 750);
  EXPECT_LE(ran, 4 * 1000);
}

TEST(MainQueue, TimerThreadEndsWithItsQueueAlsoFromItself) {
  std::promise<void> destroyed;
  auto queue = std::make_unique<MainQueue>();
  queue->setExecutor([](QueueTask task) { task(); });
  queue->postAfter(1ms, [&] {
    queue.reset();
    destroyed.set_value();
  });
  destroyed.get_future().wait();

  const auto held = std::make_shared<int>();
  queue = std::make_unique<MainQueue>();
  queue->setExecutor([](QueueTask task) { task(); });
  queue->postAfter(1h, [held] { FAIL(); });
  queue.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(BackgroundQueue, RunsOnOneThreadOfItsOwnAndSurvivesExceptions) {
  std::promise<std::thread::id> first;
  std::promise<std::thread::id> second;
  BackgroundQueue queue;
  queue.post([&] {
    first.set_value(std::this_thread::get_id());
    throw std::runtime_error("mistake");
  });
  queue.postAfter(1ms, [&] { second.set_value(std::this_thread::get_id()); });
  const auto id = first.get_future().get();
  EXPECT_NE(id, std::this_thread::get_id());
  EXPECT_EQ(second.get_future().get(), id);
}

TEST(BackgroundQueue, DestructionFinishesTheRunningClosureOnly) {
  std::promise<void> started;
  std::promise<void> mayEnd;
  bool ended = false;
  auto queue = std::make_unique<BackgroundQueue>();
  queue->post([&] {
    started.set_value();
    mayEnd.get_future().wait();
    ended = true;
  });
  started.get_future().wait();
  std::thread releaser([&] { mayEnd.set_value(); });
  queue.reset();
  EXPECT_TRUE(ended);
  releaser.join();
}

TEST(BackgroundQueue, MayBeDestroyedByItsClosures) {
  std::promise<void> destroyed;
  auto queue = std::make_unique<BackgroundQueue>();
  auto& reference = *queue;
  reference.post([&] {
    queue.reset();
    destroyed.set_value();
  });
  destroyed.get_future().wait();
  EXPECT_FALSE(queue);
}

TEST(Queues, WithoutThreadsLoseNoAnswer) {
  const uid_t user = getuid() == 0 ? 65534 : getuid();  // the superuser has threads without limit
  test::ChildProcess child({ZAVELO_STORE_CHILD, "no-threads", std::to_string(user)});
  for (const auto* line :
       {"login: 1", "no members", "it could not be read: its queue has ended or got no thread",
        "1 on the main queue", "with threads again"})
    EXPECT_EQ(child.readLine(), line);
  EXPECT_EQ(child.wait(), 0);
}

TEST(Queues, AndAStoreWorkInAForkedProcess) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "ThreadSanitizer lets no forked process have threads";
#endif
  const test::TemporaryFolder folder;
  test::ChildProcess child({ZAVELO_STORE_CHILD, "fork", folder / "store.sqlite"});
  for (const auto* line : {"parent", "child", "parent again"}) EXPECT_EQ(child.readLine(), line);
  EXPECT_EQ(child.wait(), 0);
}

TEST(ManualQueue, RunsDelayedClosuresAtTheirMomentInVirtualTime) {
  zavelo::testing::ManualQueue queue;
  std::vector<int> ran;
  queue.postAfter(2h, [&] { ran.push_back(3); });
  queue.postAfter(1h, [&] {
    ran.push_back(1);
    queue.postAfter(30 * 60'000ms, [&] { ran.push_back(2); });
  });
  const auto cancelled = queue.postAfter(1h, [&] { ran.push_back(9); });
  EXPECT_EQ(queue.runDue(), 0U);
  EXPECT_EQ(queue.pending(), 3U);
  cancelled->cancel();
  EXPECT_EQ(queue.advance(2h - 1ms), 2U);
  EXPECT_THAT(ran, ElementsAre(1, 2));
  EXPECT_EQ(queue.advance(1ms), 1U);
  EXPECT_EQ(queue.pending(), 0U);
}

}  // namespace
}  // namespace zavelo

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <ostream>

#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/rtm_engine_contract.hpp"

namespace zavelo::testing {

// The name a test is listed under.
static void PrintTo(const RtmContractClause& clause, std::ostream* out) {
  *out << clause.name;
}

namespace {

/// Works when the test says so, on the test's thread.
class SteppedEngine final : public RtmEngineUnderTest {
 public:
  std::shared_ptr<AgoraRtmKit> createKit(std::weak_ptr<AgoraRtmDelegate> delegate) override {
    return hub_->kitFactory()("app", std::move(delegate));
  }
  bool waitUntil(const std::function<bool()>& holds) override {
    queue_->runDue();
    return holds();
  }

 private:
  const std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>();
  const std::shared_ptr<InProcessHub> hub_ = InProcessHub::create(queue_);
};

/// Works on a thread of its own. What has been asked of it is done once a closure posted later has
/// run.
class ThreadedEngine final : public RtmEngineUnderTest {
 public:
  std::shared_ptr<AgoraRtmKit> createKit(std::weak_ptr<AgoraRtmDelegate> delegate) override {
    return hub_->kitFactory()("app", std::move(delegate));
  }
  bool waitUntil(const std::function<bool()>& holds) override {
    for (int round = 0; round < 3; ++round) {  // callbacks may have asked for more
      bool done = false;
      queue_->post([&] {
        const std::lock_guard lock(mutex_);
        done = true;
        ran_.notify_one();
      });
      std::unique_lock lock(mutex_);
      ran_.wait(lock, [&] { return done; });
    }
    return holds();
  }

 private:
  std::mutex mutex_;
  std::condition_variable ran_;
  const std::shared_ptr<BackgroundQueue> queue_ = std::make_shared<BackgroundQueue>();
  const std::shared_ptr<InProcessHub> hub_ = InProcessHub::create(queue_);
};

class RtmContract : public ::testing::TestWithParam<RtmContractClause> {};

TEST_P(RtmContract, HoldsForTheEngineOnAQueue) {
  SteppedEngine engine;
  EXPECT_EQ(GetParam().check(engine), "");
}

TEST_P(RtmContract, HoldsForTheEngineOnAThread) {
  ThreadedEngine engine;
  EXPECT_EQ(GetParam().check(engine), "");
}

INSTANTIATE_TEST_SUITE_P(InProcess, RtmContract, ::testing::ValuesIn(rtmEngineContract()),
                         [](const auto& clause) { return std::string(clause.param.name); });

}  // namespace
}  // namespace zavelo::testing

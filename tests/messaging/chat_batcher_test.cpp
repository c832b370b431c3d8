#include "zavelo/messaging/chat_batcher.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"

namespace zavelo {
namespace {

using namespace std::chrono_literals;
using Kind = ZVMessageType;

std::shared_ptr<ZVStreamMessage> event(Kind kind, const std::string& text,
                                       std::int64_t sender = 1) {
  auto result =
      kind == Kind::gift ? std::make_shared<ZVGiftMessage>() : std::make_shared<ZVStreamMessage>();
  result->messageType = rawValue(kind);
  result->message = text;
  result->senderUserId = sender;
  return result;
}

class ChatBatcherTest : public ::testing::Test {
 protected:
  void start(const ZVChatBatcherOptions& options = {}) {
    batcher_.emplace([this](ZVChatBatch batch) { deliver_(std::move(batch)); },
                     ZVChatBatcher::Collaborators{queue_, clock_}, options);
  }
  void add(const std::string& text, Kind kind = Kind::message, std::int64_t sender = 1) {
    batcher_->add(event(kind, text, sender));
  }
  void pass(std::chrono::milliseconds time) {
    clock_->advance(time);
    queue_->advance(time);
  }
  /// "a likex3 gift:2 -5|": each item with its count, a gift's own, and what was dropped.
  void write(const ZVChatBatch& batch) {
    for (const auto& item : batch.items) {
      shown_ += *item.event->message;
      if (item.count > 1) shown_ += "x" + std::to_string(item.count);
      if (const auto* gift = dynamic_cast<const ZVGiftMessage*>(item.event.get()))
        shown_ += ":" + std::to_string(gift->giftCount.value_or(1));
      shown_ += " ";
      represented_ += item.count;
    }
    if (batch.droppedLines > 0) shown_ += "-" + std::to_string(batch.droppedLines);
    shown_ += "|";
  }
  std::string shown() { return std::exchange(shown_, {}); }

  const std::shared_ptr<testing::ManualQueue> queue_ = std::make_shared<testing::ManualQueue>();
  const std::shared_ptr<testing::ManualClock> clock_ = std::make_shared<testing::ManualClock>();
  std::function<void(ZVChatBatch)> deliver_ = [this](const ZVChatBatch& batch) { write(batch); };
  std::optional<ZVChatBatcher> batcher_;
  std::string shown_;
  std::uint64_t represented_ = 0;
};

TEST_F(ChatBatcherTest, EventsAreMergedDroppedOrKeptByTheirKind) {
  start({.lineLimit = 2});
  add("a"), add("like", Kind::like), add("b"), add("joined", Kind::viewerJoined);
  add("like", Kind::like, 2), add("gift", Kind::gift), add("c"), add("left", Kind::viewerLeft);
  add("old", Kind::statistic), add("new", Kind::statistic), add("poll", Kind::startPoll);
  add("muted", Kind::hostMuted), add("admin", Kind::adminMessage), add("gift", Kind::gift);
  const auto untyped = std::make_shared<ZVGiftMessage>();
  untyped->message = "untyped";
  batcher_->add(untyped);
  batcher_->add(nullptr);
  batcher_->addKept(event(Kind::message, "mine"));
  batcher_->add(event(Kind::message, "pinned"), rawValue(Kind::hostPinnedMessage));
  add("d"), add("e");
  pass(200ms);
  EXPECT_EQ(shown(),
            "joined likex2 gift:1 left newx2 poll muted admin gift:1 untyped:1 mine pinned d e "
            "-3|");
  const auto counters = batcher_->counters();
  EXPECT_EQ(counters.received, 19U);
  EXPECT_EQ(represented_ + counters.droppedLines, counters.received);
  EXPECT_EQ(counters.merged, 2U);
}

TEST_F(ChatBatcherTest, TicksOnlyWhileEventsWaitAndPausesAfterEachBatch) {
  start({.interval = 100ms});
  EXPECT_EQ(queue_->pending(), 0U);
  add("a"), add("b");
  EXPECT_EQ(queue_->pending(), 1U);
  pass(99ms);
  EXPECT_EQ(shown(), "");
  deliver_ = [this](const ZVChatBatch& batch) {
    write(batch);
    if (batch.items.size() == 2) add("meanwhile");
  };
  pass(1ms);
  EXPECT_EQ(shown(), "a b |");
  pass(99ms);
  EXPECT_EQ(shown(), "");
  pass(1ms);
  EXPECT_EQ(shown(), "meanwhile |");
  EXPECT_EQ(queue_->pending(), 0U);
}

TEST_F(ChatBatcherTest, KeptEventsBeyondTheLimitAreCompactedByOriginThenByKind) {
  start({.keptLimit = 2});
  for (std::int64_t i = 0; i < 100; ++i) {
    add("rose", Kind::gift, i % 4);
    add("muted", Kind::hostMuted, i);
  }
  pass(200ms);
  EXPECT_EQ(shown(), "muted rosex25:25 rosex75:75 mutedx99 |");
  EXPECT_EQ(represented_, 200U);
}

TEST_F(ChatBatcherTest, ARateSpreadsLinesButHoldsUpNothingElse) {
  start({.interval = 100ms, .linesPerSecond = 20});
  for (const char* line : {"a", "b", "c", "d", "e"}) add(line);
  pass(100ms);
  add("gift", Kind::gift);
  EXPECT_EQ(shown(), "a b |");
  pass(100ms);
  EXPECT_EQ(shown(), "c d gift:1 |");
  pass(100ms);
  EXPECT_EQ(shown(), "e |");
  EXPECT_EQ(queue_->pending(), 0U);
}

TEST_F(ChatBatcherTest, FlushAndDestructionDeliverWhatWaits) {
  start({.linesPerSecond = 0.001});
  add("a"), add("b");
  batcher_->flush();
  EXPECT_EQ(shown(), "");  // on the main queue only
  queue_->runDue();
  EXPECT_EQ(shown(), "a b |");
  add("c"), add("d");
  batcher_.reset();
  pass(1s);
  EXPECT_EQ(shown(), "c d |");
  start();
  deliver_ = [this](const ZVChatBatch& batch) {
    write(batch);
    batcher_.reset();
    throw std::runtime_error("the app's");
  };
  add("e");
  EXPECT_THROW(pass(1s), std::runtime_error);
  EXPECT_EQ(shown(), "e |");
}

// 500 us a line and 5,000 lines a second: the screen can show two of five.
TEST_F(ChatBatcherTest, ASlowScreenShowsTheNewestLinesInBoundedMemory) {
  start();
  std::int64_t fed = 0, newestShown = -1;
  std::chrono::nanoseconds behind{0};  // of the clock, that the feed is
  const auto passAndFeed = [&](std::chrono::nanoseconds time) {
    clock_->advance(time);
    for (behind += time; behind >= 200us; behind -= 200us) {
      add(std::to_string(fed), fed % 100 == 0 ? Kind::gift : Kind::message);
      ++fed;
    }
    EXPECT_LE(batcher_->counters().pending, 300U);
  };
  deliver_ = [&](const ZVChatBatch& batch) {
    for (const auto& item : batch.items) {
      const std::int64_t number = std::stoll(*item.event->message);
      EXPECT_GT(number, newestShown);
      newestShown = number;
      represented_ += item.count;
    }
    EXPECT_GE(newestShown, fed - 1);  // the newest there is
    passAndFeed(batch.items.size() * 500us);
  };
  for (auto passed = 0ms; passed < 10s; passed += 1ms) {
    passAndFeed(1ms);
    queue_->advance(1ms);
  }
  const auto counters = batcher_->counters();
  EXPECT_EQ(represented_ + counters.droppedLines + counters.pending, counters.received);
  EXPECT_GT(counters.droppedLines, counters.items);
  EXPECT_GT(fed, 50'000);
}

TEST_F(ChatBatcherTest, EventsOfSeveralThreadsAllCount) {
  const auto queue = std::make_shared<MainQueue>();
  std::uint64_t represented = 0, dropped = 0;
  {
    ZVChatBatcher batcher(
        [&](const ZVChatBatch& batch) {
          for (const auto& item : batch.items) represented += item.count;
          dropped += batch.droppedLines;
        },
        {queue, clock_}, {.interval = 1ms, .keptLimit = 10});
    std::vector<std::jthread> threads;
    for (const auto kind : {Kind::message, Kind::like, Kind::gift, Kind::hostMuted})
      threads.emplace_back([&batcher, kind] {
        for (std::int64_t i = 0; i < 5'000; ++i) batcher.add(event(kind, "x", i));
      });
    while (batcher.counters().received < 20'000) queue->poll();
  }
  while (queue->poll() > 0) {
  }
  EXPECT_EQ(represented + dropped, 20'000U);
}

}  // namespace
}  // namespace zavelo

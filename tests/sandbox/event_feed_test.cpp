#include "sandbox/events/event_feed.hpp"

#include <gtest/gtest.h>

#include <list>
#include <thread>

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

std::string dataOf(const EventBatch& batch) {
  std::string data;
  for (const auto& event : batch.events) data += event.data;
  return data;
}

TEST(EventFeedTest, ReadersGoOnWhereTheyStood) {
  EventFeed feed;
  EventFeed::Reader early(feed, feed.position());
  for (const char* data : {"1", "2", "3"}) feed.publish("call", data);
  const auto first = early.next(0ms);
  EXPECT_EQ(dataOf(first), "123");
  EXPECT_EQ(dataOf(early.next(0ms)), "");
  EventFeed::Reader again(feed, first.events[1].id);
  EXPECT_EQ(dataOf(again.next(0ms)), "3");
  EventFeed::Reader late(feed, "");
  feed.publish("call", "4");
  EXPECT_EQ(dataOf(late.next(0ms)), "4");
}

TEST(EventFeedTest, WhoFellBehindIsToldSoOnceAndGoesOn) {
  EventFeed feed({.events = 3, .bytes = 10});
  const auto start = feed.position();
  for (const char* data : {"1", "2", "3"}) feed.publish("call", data);
  EXPECT_EQ(dataOf(EventFeed::Reader(feed, start).next(0ms)), "123");
  feed.publish("call", "4");
  for (const auto& id : {start, std::string("1-1"), std::string("nonsense"), start + "9"}) {
    EventFeed::Reader reader(feed, id);
    EXPECT_EQ(reader.next(0ms).missedUpTo, feed.position()) << id;
    EXPECT_EQ(dataOf(reader.next(0ms)), "");
  }
  feed.publish("call", "123456789");  // more than fits beside the others
  feed.publish("call", "ab");
  EventFeed::Reader reader(feed, start);
  EXPECT_NE(reader.next(0ms).missedUpTo, "");
  feed.publish("call", "c");
  EXPECT_EQ(dataOf(reader.next(0ms)), "c");
}

TEST(EventFeedTest, ReadersAreWokenCountedAndEnded) {
  EventFeed feed;
  EventFeed::Reader reader(feed, "");
  std::thread publisher([&] { feed.publish("call", "1"); });
  EXPECT_EQ(dataOf(reader.next(1min)), "1");
  publisher.join();
  {
    std::list<EventFeed::Reader> others;
    while (others.size() + 1 < EventFeed::mostReaders)
      EXPECT_TRUE(others.emplace_back(feed, "").isAdmitted());
    EXPECT_FALSE(EventFeed::Reader(feed, "").isAdmitted());
  }
  EXPECT_TRUE(EventFeed::Reader(feed, "").isAdmitted());
  std::thread stopper([&] { feed.stop(); });
  EXPECT_TRUE(reader.next(1min).ended);
  stopper.join();
}

}  // namespace
}  // namespace zavelo::sandbox

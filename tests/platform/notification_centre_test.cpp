#include "zavelo/platform/notification_centre.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace zavelo {
namespace {

using testing::ElementsAre;

TEST(NotificationCentre, TellsObserversOfTheNameInOrder) {
  NotificationCentre centre;
  std::vector<std::string> heard;
  const auto hear = [&](std::string who) {
    return [&heard, who](const Notification& notification) {
      const auto* text = notification.info<std::string>("who");
      heard.push_back(who + ":" + std::string(notification.name) + ":" + (text ? *text : "-"));
    };
  };
  const auto a = centre.addObserver("login", hear("a"));
  const auto b = centre.addObserver("login", hear("b"));
  const auto c = centre.addObserver("logout", hear("c"));
  centre.post("login", {{"who", std::string("me")}, {"count", 1}});
  centre.post("logout");
  centre.post("unheard");
  EXPECT_THAT(heard, ElementsAre("a:login:me", "b:login:me", "c:logout:-"));
}

TEST(NotificationCentre, TokenEndsTheObservation) {
  int heard = 0;
  ObserverToken survivor;
  {
    NotificationCentre centre;
    {
      const auto token = centre.addObserver("n", [&](const Notification&) { ++heard; });
    }
    survivor = centre.addObserver("n", [&](const Notification&) { ++heard; });
    centre.post("n");
    survivor = centre.addObserver("n", [&](const Notification&) { heard += 10; });
    centre.post("n");
  }
  survivor.reset();
  EXPECT_EQ(heard, 11);
}

TEST(NotificationCentre, ObserversMayAddAndRemoveDuringAPost) {
  NotificationCentre centre;
  std::vector<std::string> heard;
  ObserverToken own;
  ObserverToken next;
  ObserverToken added;
  const auto witness = std::make_shared<std::string>("own");
  own = centre.addObserver("n", [&, witness](const Notification&) {
    next.reset();
    added = centre.addObserver("n", [&](const Notification&) { heard.push_back("added"); });
    own.reset();
    heard.push_back(*witness);  // what the observer captured lives until it returns
  });
  next = centre.addObserver("n", [&](const Notification&) { heard.push_back("next"); });
  const auto last = centre.addObserver("n", [&](const Notification&) { heard.push_back("last"); });
  centre.post("n");
  centre.post("n");
  EXPECT_THAT(heard, ElementsAre("own", "last", "last", "added"));
  EXPECT_EQ(witness.use_count(), 1);
}

TEST(NotificationCentre, ThreadsMayPostAndObserveAtOnce) {
  NotificationCentre centre;
  std::atomic<int> heard{0};
  const auto steady = centre.addObserver("n", [&](const Notification&) { ++heard; });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 200; ++k) {
        const auto brief = centre.addObserver("n", [](const Notification&) {});
        centre.post("n");
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(heard, 800);
}

}  // namespace
}  // namespace zavelo

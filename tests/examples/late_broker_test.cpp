#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "sandbox/broker/broker_process.hpp"
#include "tests/examples/first_hour_fixture.hpp"

namespace zavelo::command {
namespace {

// Both join in the callback of `connect`, whose first two attempts have failed by then.
TEST_F(FirstHour, OfABrokerThatStartsLaterJoinsAsSoonAsItIsThere) {
  std::uint16_t port = 0;
  {
    const auto broker = sandbox::BrokerProcess::start({});
    ASSERT_TRUE(broker) << broker.error();
    port = (*broker)->port();
  }
  rtm_ = "mqtt://127.0.0.1:" + std::to_string(port);
  logBobIn();
  const auto app = startApp("secret");
  const auto chat = startBob({"chat", "--channel", "soup"});
  std::this_thread::sleep_for(std::chrono::seconds(12));
  const auto broker = sandbox::BrokerProcess::start({.port = port});
  ASSERT_TRUE(broker) << broker.error();
  EXPECT_EQ(app->nextLine(), "in soup");
  EXPECT_EQ(chat->nextLine(), R"({"channel":"soup","kind":"joined"})");
  chat->write("hello\n");
  EXPECT_EQ(app->nextLine(), "Bob: hello");
}

}  // namespace
}  // namespace zavelo::command

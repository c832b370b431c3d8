#include <gtest/gtest.h>

#include <thread>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

constexpr const char* search = "/api/users/search";

class FaultTest : public ::testing::Test {
 protected:
  void spoil(const std::string& fault, json::Object more = {}) const {
    more.set("endpoint", search);
    more.set("fault", fault);
    ASSERT_THAT(backend.post("/sandbox/faults", more), HasCode(1));
  }
  [[nodiscard]] Answer call() const {
    return backend.post(search, {{"displayName", ""}, {"nextId", 0}, {"limit", 5}}, token);
  }

  Backend backend;
  const std::string token = backend.join("ann").text("accessToken");
};

TEST_F(FaultTest, MeetsAsManyCallsAsItsCountOrOne) {
  spoil("code", {{"code", 1341}, {"message", "Elsewhere"}, {"count", 2}});
  EXPECT_THAT(call(), HasCode(1341));
  EXPECT_EQ(call().message(), "Elsewhere");
  EXPECT_THAT(call(), HasCode(1));
  spoil("unauthorized");
  EXPECT_EQ(call().status, 401);
  EXPECT_THAT(call(), HasCode(1));
}

TEST_F(FaultTest, RefusedCallGetsNoByteAndIsNotDone) {
  ASSERT_THAT(
      backend.post("/sandbox/faults", {{"endpoint", "/api/users/logout"}, {"fault", "refuse"}}),
      HasCode(1));
  EXPECT_EQ(backend.post("/api/users/logout", {}, token).status, 0);
  EXPECT_THAT(call(), HasCode(1));
  spoil("refuse");
  EXPECT_EQ(exchange(backend.port(),
                     "POST /api/users/search HTTP/1.1\r\nHost: localhost\r\n"
                     "Content-Length: 0\r\n\r\n"),
            "");
}

TEST_F(FaultTest, DelayHoldsUpNobodyElseAndEndsWithTheSandbox) {
  spoil("delay", {{"milliseconds", 600'000}});
  Answer delayed;
  std::thread caller([&] { delayed = call(); });
  const auto isPending = [&] {
    const auto pending = backend.send("GET", "/sandbox/faults").data("pending");
    return !pending.as<json::Array>()->empty();
  };
  while (isPending()) std::this_thread::yield();
  EXPECT_THAT(call(), HasCode(1));
  backend.sandbox->stop();
  caller.join();
}

TEST_F(FaultTest, PendingRulesAreListedAndCleared) {
  spoil("delay", {{"milliseconds", 5}, {"count", 3}});
  ASSERT_THAT(backend.post("/sandbox/faults", {{"endpoint", "*"}, {"fault", "cut"}}), HasCode(1));
  const json::Array expected{
      json::Object{{"endpoint", search}, {"fault", "delay"}, {"count", 3}, {"milliseconds", 5}},
      json::Object{{"endpoint", "*"}, {"fault", "cut"}, {"count", 1}}};
  EXPECT_EQ(backend.send("GET", "/sandbox/faults").data("pending"), json::Value(expected));
  EXPECT_EQ(backend.send("DELETE", "/sandbox/faults").data("pending"), json::Value(json::Array{}));
  EXPECT_THAT(call(), HasCode(1));
}

}  // namespace
}  // namespace zavelo::sandbox

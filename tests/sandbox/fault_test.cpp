#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "support/temporary_folder.hpp"
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

TEST_F(FaultTest, DelayHoldsUpNobodyElseAndEndsWhenFaultsAreDroppedOrTheSandboxStops) {
  const auto isPending = [&] {
    const auto pending = backend.send("GET", "/sandbox/faults").data("pending");
    return !pending.as<json::Array>()->empty();
  };
  for (const bool isStopped : {false, true}) {
    spoil("delay", {{"milliseconds", 600'000}});
    Answer delayed;
    std::thread caller([&] { delayed = call(); });
    while (isPending()) std::this_thread::yield();
    EXPECT_THAT(call(), HasCode(1));
    if (isStopped) {
      backend.sandbox->stop();
    } else {
      EXPECT_THAT(backend.send("DELETE", "/sandbox/faults"), HasCode(1));
    }
    caller.join();
    EXPECT_TRUE(isStopped || delayed.code() == 1);
  }
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

TEST(FaultFileTest, ExampleNamesEndpointsThatThereAre) {
  const Backend backend({.faults = ZAVELO_EXAMPLE_FOLDER "/faults/bad_evening.json"});
  EXPECT_EQ(backend.send("GET", "/sandbox/faults").data("pending").as<json::Array>()->size(), 8);
}

TEST(FaultFileTest, WaitsFromTheStartOrIsRefusedWithItsPlace) {
  const test::TemporaryFolder folder;
  const auto file = folder / "faults.json";
  std::ofstream(file) << R"({"faults":[
    {"endpoint":"/api/settings/naughty-words","fault":"code","code":603,"after":1}]})";
  const Backend backend({.faults = file});
  EXPECT_THAT(backend.post("/api/settings/naughty-words"), HasCode(1));
  EXPECT_THAT(backend.post("/api/settings/naughty-words"), HasCode(603));
  EXPECT_THAT(backend.post("/api/settings/naughty-words"), HasCode(1));

  const auto complaint = [&] { return Sandbox::start({.port = 0, .faults = file}).error(); };
  const std::string cannotUse = "cannot use \"" + file.string() + "\" as the fault script: ";
  std::ofstream(file) << R"({"endpoint":"/api/users/serach","fault":"cut"})";
  EXPECT_EQ(complaint(), cannotUse + "\"endpoint\": there is no /api/users/serach");
  std::ofstream(file) << R"({"faults":[{"endpoint":"*","fault":"late"}]})";
  EXPECT_THAT(complaint(),
              ::testing::StartsWith(cannotUse + "faults[0]: \"fault\": expected delay,"));
  std::filesystem::remove(file);
  EXPECT_EQ(complaint(), cannotUse + "No such file or directory");
}

}  // namespace
}  // namespace zavelo::sandbox

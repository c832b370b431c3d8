#include <gtest/gtest.h>
#include <httplib.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

std::int64_t residentBytes() {
  std::int64_t pages = 0;
  std::int64_t resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

constexpr const char* search = R"({"displayName":"a","nextId":0,"limit":10})";

/// How many of the calls failed.
int callInARow(const Backend& backend, const std::string& token, int calls) {
  httplib::Client client("127.0.0.1", backend.port());
  client.set_keep_alive(true);
  client.set_tcp_nodelay(true);
  client.set_bearer_token_auth(token);
  int failed = 0;
  for (int i = 0; i < calls; ++i) {
    const auto answer = client.Post("/api/users/search", search, "application/json");
    if (!answer || !answer->body.starts_with(R"({"code":1,)")) ++failed;
  }
  return failed;
}

TEST(LoadTest, TenThousandCallsInARowLeaveNothingBehind) {
  const Backend backend;
  const auto token = backend.join("ann").text("accessToken");
  ASSERT_EQ(callInARow(backend, token, 5'000), 0);  // the log and the feed are full
  const auto before = residentBytes();
  EXPECT_EQ(callInARow(backend, token, 10'000), 0);
  EXPECT_LT(residentBytes() - before, 4 * 1024 * 1024);
}

TEST(LoadTest, FiveHundredCallsAtOnceAreAllAnswered) {
  const Backend backend;
  std::atomic<int> answered = 0;
  std::vector<std::thread> callers;
  for (int i = 0; i < 500; ++i)
    callers.emplace_back(
        [&, i] { answered += backend.join("member" + std::to_string(i)).code() == 1; });
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(answered, 500);
}

}  // namespace
}  // namespace zavelo::sandbox

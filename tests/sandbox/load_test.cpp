#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iostream>
#include <string_view>
#include <thread>
#include <vector>

#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "tests/sandbox/backend.hpp"
#include "zavelo/json/json.hpp"

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
  client.set_read_timeout(60s);
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

TEST(LoadTest, LargeSeedIsLoadedAndPagedThrough) {
  const test::TemporaryFolder folder;
  constexpr int products = 20'000;
  constexpr int gifts = 50'000;
  {
    std::ofstream seed(folder / "seed.json");
    seed << R"({"members":[{"zaveloId":"ann"}],"products":[)";
    for (int i = 0; i < products; ++i) {
      seed << (i > 0 ? "," : "") << R"({"seller":"ann","name":"p)" << i % 10'000
           << R"(","price":2,"promotionPrice":1,"url":""})";
    }
    seed << R"(],"gifts":[)";
    for (int i = 1; i <= gifts; ++i) {
      seed << (i > 1 ? "," : "") << R"({"giftId":)" << i << R"(,"giftName":"g","costGold":1})";
    }
    seed << "]}";
  }
  const auto begin = std::chrono::steady_clock::now();
  const auto seconds = [&] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  const Backend backend({.seed = folder / "seed.json"});
  std::cout << "loaded after " << seconds() << " s\n";
  const auto token = backend.join("ann").text("accessToken");
  std::int64_t next = 0;
  int read = 0;
  for (bool isEnd = false; !isEnd && read <= products;) {
    const auto page =
        backend.post("/api/users/products", {{"nextId", next}, {"limit", 100}}, token);
    ASSERT_THAT(page, HasCode(1));
    next = page.integer("nextId");
    read += static_cast<int>(page.data("result").as<json::Array>()->size());
    isEnd = page.data("isEnd") == json::Value(true);
  }
  EXPECT_EQ(read, products);
  std::cout << "read in pages after " << seconds() << " s\n";
}

int connectTo(std::uint16_t port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
  return socket;
}

/// Clients that never finish the header of their request, and come back when they are thrown out.
class SlowClients {
 public:
  SlowClients(std::uint16_t port, std::size_t count) : port_(port), sockets_(count, -1) {
    for (int& socket : sockets_) connect(socket);
    thread_ = std::thread([this] {
      while (!isStopped_) {
        for (int& socket : sockets_) {
          if (::send(socket, "x", 1, MSG_NOSIGNAL | MSG_DONTWAIT) != 1) connect(socket);
        }
        std::this_thread::sleep_for(500ms);
      }
    });
  }
  ~SlowClients() {
    isStopped_ = true;
    thread_.join();
    for (const int socket : sockets_) ::close(socket);
  }
  [[nodiscard]] int connections() const { return connections_; }

 private:
  void connect(int& socket) {
    if (socket >= 0) ::close(socket);
    socket = connectTo(port_);
    constexpr std::string_view begin = "GET / HTTP/1.1\r\nX-Slow: ";
    ::send(socket, begin.data(), begin.size(), MSG_NOSIGNAL);
    ++connections_;
  }

  const std::uint16_t port_;
  std::vector<int> sockets_;
  std::atomic<int> connections_ = 0;
  std::atomic<bool> isStopped_ = false;
  std::thread thread_;
};

void allowOpenFiles(rlim_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(count, limit.rlim_max);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST(LoadTest, ClientsThatTrickleAHeaderLockNoOneOut) {
  allowOpenFiles(8192);
  const Backend backend;
  const auto token = backend.join("ann").text("accessToken");
  for (const std::size_t count : {900U, 1200U}) {
    SlowClients slow(backend.port(), count);
    auto longest = 0ms;
    for (int i = 0; i < 100; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_EQ(callInARow(backend, token, 1), 0);
      longest = std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(
                                      std::chrono::steady_clock::now() - begin));
    }
    std::cout << count << " slow clients (" << slow.connections()
              << " connections): the longest of 100 calls took " << longest.count() << " ms\n";
  }
}

TEST(LoadTest, HeaderThatIsNotFinishedInTimeEndsItsConnection) {
  const Backend backend;
  const SlowClients slow(backend.port(), 3);
  const auto end = std::chrono::steady_clock::now() + 120s;
  while (slow.connections() == 3 && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(100ms);
  EXPECT_GT(slow.connections(), 3);
}

TEST(LoadTest, IdleConnectionsGiveWayWhenDescriptorsRunOut) {
  const test::TemporaryFolder folder;
  test::ChildProcess sandbox(
      {"/bin/sh", "-c", "ulimit -n 64; exec \"$0\" sandbox --port 0 --no-broker --state \"$1\"",
       ZAVELO_COMMAND, folder / "state.db"});
  const auto line = json::decode<json::Value>(sandbox.readLine());
  ASSERT_TRUE(line) << "the sandbox does not start";
  const auto url = *line->as<json::Object>()->find("url")->as<std::string>();
  const auto port = static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
  httplib::Client client(url);
  client.set_read_timeout(60s);
  std::vector<int> idle;
  for (int i = 0; i < 20; ++i) {
    for (int n = 0; n < 10; ++n) idle.push_back(connectTo(port));
    const auto body = R"({"deviceType":1,"zaveloId":"member)" + std::to_string(i) + "\"}";
    const auto answer = client.Post("/api/users/zavelo-login", body, "application/json");
    ASSERT_TRUE(answer) << i;
    EXPECT_TRUE(answer->body.starts_with(R"({"code":1,)")) << i << ": " << answer->body;
  }
  for (const int socket : idle) ::close(socket);
}

}  // namespace
}  // namespace zavelo::sandbox

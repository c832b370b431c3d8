#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(HttpTest, UnknownAddressesAndMethodsAreToldInTheEnvelope) {
  const Backend backend;
  EXPECT_THAT(backend.post("/api/users/none"), HasCode(404));
  EXPECT_THAT(backend.send("GET", "/"), HasCode(404));
  EXPECT_THAT(backend.send("GET", "/api/users/login"), HasCode(405));
  EXPECT_THAT(backend.send("PUT", "/api/users/login", {{"Content-Length", "0"}}), HasCode(405));
  EXPECT_THAT(backend.send("GET", "/" + std::string(5000, 'a')), HasCode(414));
  EXPECT_EQ(backend.post("/api/users/none").status, 404);
}

TEST(HttpTest, OtherSitesAreKeptOut) {
  const Backend backend;
  const std::string here = "127.0.0.1:" + std::to_string(backend.port());
  const auto statusOf = [&](const std::string& host, const std::string& origin) {
    std::vector<std::pair<std::string, std::string>> headers{{"Host", host}};
    if (!origin.empty()) headers.emplace_back("Origin", origin);
    return backend.send("GET", "/sandbox/health", headers).status;
  };
  EXPECT_EQ(statusOf(here, ""), 200);
  EXPECT_EQ(statusOf("LOCALHOST:1", ""), 200);
  EXPECT_EQ(statusOf("[::1]:8080", ""), 200);
  EXPECT_EQ(statusOf(here, "http://" + here), 200);
  EXPECT_EQ(statusOf("evil.example", ""), 403);
  EXPECT_EQ(statusOf("localhost.evil.example", ""), 403);
  EXPECT_EQ(statusOf("127.0.0.1:80@evil.example", ""), 403);
  EXPECT_EQ(statusOf(here, "http://evil.example"), 403);
  EXPECT_EQ(statusOf(here, "http://localhost:3000"), 403);
  EXPECT_EQ(statusOf(here, "null"), 403);
}

TEST(HttpTest, HostileBytesEndTheirConnectionOnly) {
  const Backend backend;
  const std::string start = "POST /api/users/refresh HTTP/1.1\r\nHost: localhost\r\n";
  const std::string form = "Content-Type: multipart/form-data; boundary=b\r\n";
  const std::string hostile[] = {
      std::string("\x16\x03\x01\x02\x00", 5),
      "GET\r\n\r\n",
      "GET / HTTP/9.9\r\n\r\n",
      start + "Content-Length: -5\r\n\r\n",
      start + "Content-Length: 99999999999999999999\r\n\r\n{}",
      start + "Content-Length: 50\r\n\r\n{}",
      start + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n",
      start + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
      start + "Content-Encoding: gzip\r\nContent-Length: 2\r\n\r\n{}",
      start + "Range: bytes=" + std::string(7000, ',') + "\r\nContent-Length: 0\r\n\r\n",
      start + form + "Content-Length: 20\r\n\r\n--b\r\nContent-Dispos",
      start + form + "Content-Length: 7012\r\n\r\n--b\r\n" + std::string(7007, 'x'),
      start + std::string(100'000, 'h'),
      "GET /" + std::string(200'000, 'a'),
  };
  for (const auto& bytes : hostile) {
    const auto received = exchange(backend.port(), bytes);
    if (!received.empty()) {
      EXPECT_THAT(received, StartsWith("HTTP/1.1 ")) << bytes.substr(0, 200);
    }
  }
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 200);
}

TEST(HttpTest, RequestsShareAConnection) {
  const Backend backend;
  const std::string one = "GET /sandbox/health HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const std::string last =
      "POST /api/users/logout HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
  const auto received = exchange(backend.port(), one + one + last);
  std::size_t count = 0;
  for (std::size_t at = 0; (at = received.find("HTTP/1.1 ", at)) != std::string::npos; ++at)
    ++count;
  EXPECT_EQ(count, 3U) << received;
  EXPECT_THAT(received, HasSubstr("HTTP/1.1 401"));
}

TEST(HttpTest, HundredsOfCallsAtOnceAreAllAnswered) {
  const Backend backend;
  const auto token = backend.join("ann").text("accessToken");
  std::atomic<int> answered = 0;
  std::vector<std::thread> callers;
  for (int i = 0; i < 300; ++i) {
    callers.emplace_back([&, i] {
      const auto answer =
          i % 50 == 0 ? backend.post("/api/users/login", loginBody("nobody", "x"))
                      : backend.post("/api/users/search",
                                     {{"displayName", ""}, {"nextId", 0}, {"limit", 1}}, token);
      answered += answer.code() == (i % 50 == 0 ? 652 : 1);
    });
  }
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(answered, 300);
}

TEST(HttpTest, IdleConnectionsDoNotDelayOthersNorTheEnd) {
  const Backend backend;
  std::vector<std::thread> idlers;
  std::atomic<int> waiting = 0;
  for (int i = 0; i < 50; ++i) {
    idlers.emplace_back([&] {
      const std::string request = "GET /sandbox/health HTTP/1.1\r\nHost: localhost\r\n\r\n";
      // Never answered: it ends when the sandbox does.
      waiting += 1;
      (void)exchange(backend.port(), request, "no such text");
    });
  }
  while (waiting < 50) std::this_thread::yield();
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 200);
  backend.sandbox->stop();
  for (auto& idler : idlers) idler.join();
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 0);
}

}  // namespace
}  // namespace zavelo::sandbox

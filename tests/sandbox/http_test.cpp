#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <list>
#include <thread>
#include <vector>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::AnyOf;
using ::testing::ContainsRegex;
using ::testing::StartsWith;

TEST(HttpTest, UnknownAddressesAndMethodsAreToldInTheEnvelope) {
  const Backend backend;
  EXPECT_THAT(backend.post("/api/users/none"), HasCode(404));
  EXPECT_THAT(backend.send("GET", "/none"), HasCode(404));
  EXPECT_THAT(backend.send("GET", "/api/users/login"), HasCode(405));
  EXPECT_THAT(backend.send("PUT", "/api/users/login", {{"Content-Length", "0"}}), HasCode(405));
  EXPECT_THAT(backend.send("GET", "/" + std::string(5000, 'a')), HasCode(414));
  EXPECT_EQ(backend.post("/api/users/none").status, 404);
}

TEST(HttpTest, OtherSitesAreKeptOut) {
  const Backend backend;
  const std::string here = "127.0.0.1:" + std::to_string(backend.port());
  using Headers = std::vector<std::pair<std::string, std::string>>;
  const auto statusOf = [&](const Headers& headers) {
    return backend.send("GET", "/sandbox/health", headers).status;
  };
  for (const char* host : {"LOCALHOST:1", "[::1]:8080"})
    EXPECT_EQ(statusOf({{"Host", host}}), 200) << host;
  EXPECT_EQ(statusOf({{"Host", here}, {"Origin", "http://" + here}}), 200);
  for (const char* host : {"evil.example", "localhost.evil.example", "127.0.0.1:80@evil.example"})
    EXPECT_EQ(statusOf({{"Host", host}}), 403) << host;
  for (const char* origin : {"http://evil.example", "http://localhost:3000", "null"})
    EXPECT_EQ(statusOf({{"Host", here}, {"Origin", origin}}), 403) << origin;
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
    EXPECT_THAT(exchange(backend.port(), bytes), AnyOf("", StartsWith("HTTP/1.1 ")))
        << bytes.substr(0, 200);
  }
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 200);
}

TEST(HttpTest, RequestsShareAConnection) {
  const Backend backend;
  const std::string one = "GET /sandbox/health HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const std::string last =
      "POST /api/users/logout HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
  const auto received = exchange(backend.port(), one + one + last);
  EXPECT_THAT(received, ContainsRegex("1.1 200 (.|\n)*1.1 200 (.|\n)*1.1 401 "));
}

TEST(HttpTest, HundredsOfCallsAtOnceAreAllAnswered) {
  const Backend backend;
  std::atomic<int> answered = 0;
  std::vector<std::thread> callers;
  for (int i = 0; i < 300; ++i)
    callers.emplace_back(
        [&, i] { answered += backend.join("member" + std::to_string(i)).code() == 1; });
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(answered, 300);
}

TEST(HttpTest, IdleConnectionsDoNotDelayOthersNorTheEnd) {
  const Backend backend;
  std::list<httplib::Client> idlers;
  for (int i = 0; i < 50; ++i) {
    auto& idler = idlers.emplace_back("127.0.0.1", backend.port());
    idler.set_keep_alive(true);
    EXPECT_TRUE(idler.Get("/sandbox/health"));
  }
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 200);
  backend.sandbox->stop();
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 0);
}

}  // namespace
}  // namespace zavelo::sandbox

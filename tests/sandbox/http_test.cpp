#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <list>
#include <thread>
#include <vector>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
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

TEST(HttpTest, MalformedRequestGetsItsStatusAtOnceAndTheConnectionIsClosed) {
  const Backend backend;
  const std::string line = "POST /api/users/refresh HTTP/1.1\r\n";
  const std::string start = line + "Host: localhost\r\n";
  const std::string chunked = start + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string form = start + "Content-Type: multipart/form-data; boundary=b\r\n";
  const std::string end = "\r\n\r\n";
  const std::pair<std::string, int> cases[] = {
      {std::string("\x16\x03\x01\x02\x00", 5), 400},
      {"GET" + end, 400},
      {"GET / HTTP/9.9" + end, 400},
      {"GET / HTTP/1.1" + end, 400},  // no Host
      {"GET / HTTP/1.1 \r\nHost: localhost" + end, 400},
      {"GET  / HTTP/1.1\r\nHost: localhost" + end, 400},
      {"GET nowhere HTTP/1.1\r\nHost: localhost" + end, 400},
      {start + "Host: localhost" + end, 400},
      {start + "Content-Length: -5" + end, 400},
      {start + "Content-Length: +5" + end, 400},
      {start + "Content-Length: five" + end, 400},
      {start + "Content-Length:" + end, 400},
      {start + "Content-Length: 5, 5" + end, 400},
      {start + "Content-Length: 99999999999999999999" + end, 400},
      {start + "Content-Length: 5\r\nContent-Length: 6" + end, 400},
      {start + "Content-Length : 5" + end, 400},
      {start + "Transfer-Encoding : chunked" + end, 400},
      {start + "Transfer-Encoding: gzip, chunked" + end, 400},
      {start + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked" + end, 400},
      {start + "Transfer-Encoding: identity" + end, 400},
      {start + "Transfer-Encoding: chunked\r\nContent-Length: 5" + end, 400},
      {start + "Content-Length: 5\r\nTransfer-Encoding: gzip" + end, 400},
      {"POST / HTTP/1.0\r\nTransfer-Encoding: chunked" + end, 400},
      {start + "X-Folded: a\r\n b" + end, 400},
      {line + " Host: localhost" + end, 400},
      {start + "X-Bare: a\rb" + end, 400},
      {start + "X-Bare: a\nb: c" + end, 400},
      {start + std::string("X-Nul: a\0b", 10) + end, 400},
      {start + "No colon" + end, 400},
      {start + ": no name" + end, 400},
      {chunked + "ffffffffffffffff\r\n", 413},
      {chunked + "fffffffffffffffff\r\n", 400},
      {chunked + "zz\r\n", 400},
      {chunked + "2\r\n{}xx\r\n", 400},
      {start + "Content-Length: 17000000" + end, 413},
      {start + "Content-Encoding: gzip\r\nContent-Length: 2" + end, 415},
      {start + "X-Long: " + std::string(64 * 1024, 'h') + end, 431},
      {start + "X-Endless: " + std::string(100'000, 'h'), 431},
      {"GET /" + std::string(200'000, 'a'), 431},
  };
  for (const auto& [bytes, status] : cases) {
    const auto received = exchange(backend.port(), bytes, Ending::waits);
    EXPECT_THAT(received, StartsWith("HTTP/1.1 " + std::to_string(status) + " "))
        << bytes.substr(0, 200);
    EXPECT_THAT(received, HasSubstr("\r\nConnection: close\r\n"));
  }
  // A form that is none, and a body that the client cuts short.
  for (const auto& bytes : {form + "Content-Length: 19" + end + "--b\r\nContent-Dispos",
                            start + "Content-Length: 50" + end + "{}"}) {
    EXPECT_THAT(exchange(backend.port(), bytes), StartsWith("HTTP/1.1 400 ")) << bytes;
  }
  EXPECT_EQ(backend.send("GET", "/sandbox/health").status, 200);
}

TEST(HttpTest, UnusualButWellFormedRequestsAreAnswered) {
  const Backend backend;
  const std::string host = " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
  const std::pair<std::string, std::string> cases[] = {
      {"\r\n\r\nGET /sandbox/health" + host + "\r\n", "200 OK"},
      {"GET /s%61ndbox/health?x=%61" + host + "\r\n", "200 OK"},
      {"GET HTTP://localhost:8080/sandbox/health" + host + "\r\n", "200 OK"},
      {"GET /%zz%" + host + "\r\n", "404 Not Found"},
      {"OPTIONS *" + host + "\r\n", "404 Not Found"},
      {"GET /sandbox/health HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n",
       "200 OK"},
      {"POST /sandbox/faults" + host + "Content-Length: 2\r\nContent-Length: 2\r\n\r\n{}",
       "200 OK"},
      {"POST /sandbox/faults" + host +
           "Transfer-Encoding: Chunked\r\n\r\n1;a=b\r\n{\r\n1\r\n}\r\n0\r\nX: y\r\n\r\n",
       "200 OK"},
      {"POST /sandbox/faults" + host + "Content-Length: 2\r\nExpect: 100-continue\r\n\r\n{}",
       "100 Continue\r\n\r\nHTTP/1.1 200 OK"},
  };
  for (const auto& [bytes, answer] : cases) {
    EXPECT_THAT(exchange(backend.port(), bytes, Ending::waits), StartsWith("HTTP/1.1 " + answer))
        << bytes;
  }
  const auto head = exchange(backend.port(), "HEAD /sandbox/health" + host + "\r\n");
  EXPECT_THAT(head, ContainsRegex("^HTTP/1.1 405 (.|\n)*Content-Length: [1-9](.|\n)*\r\n\r\n$"));
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

#include <gtest/gtest.h>
#include <httplib.h>

#include <latch>
#include <list>
#include <thread>

#include "sandbox/dashboard/call_log.hpp"
#include "sandbox/dashboard/curves.hpp"
#include "sandbox/dashboard/secrets.hpp"
#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(SecretsTest, AreHiddenWhateverTheTextIs) {
  const std::pair<std::string, std::string> texts[] = {
      {R"({"password" : "a\"b", "x":"password"})", R"({"password" : "•••", "x":"password"})"},
      {R"({"a":{"PASSWORD":12}})", R"({"a":{"PASSWORD":•••}})"},
      {R"({"accessToken":"abcdefgh","refreshToken":null})",
       R"({"accessToken":"abcdef…","refreshToken":null})"},
      {R"({"password":"cut o)", R"({"password":"•••")"},
      {R"({"password)", R"({"password)"},
      {R"(no JSON: "password":secret)", R"(no JSON: "password":•••)"},
      {R"("\)", R"("\)"},
      {"", ""},
  };
  for (const auto& [text, shown] : texts) EXPECT_EQ(withoutSecrets(text), shown);
  EXPECT_EQ(withoutSecret("authorization", "bearer abcdefgh"), "bearer abcdef…");
}

TEST(CallLogTest, KeepsTheLatestWithinItsBounds) {
  EventFeed feed;
  CallLog log(feed, {.calls = 3, .bytes = 2000});
  for (int i = 1; i <= 4; ++i) log.put({i, false, std::to_string(i), "{}"});
  EXPECT_EQ(log.list().summaries, "[2,3,4]");
  log.put({5, false, "5", std::string(1900, 'x')});
  EXPECT_EQ(log.list().summaries, "[5]");
  EXPECT_FALSE(log.find(4));
}

TEST(CallLogTest, KeepsWhatIsPendingUntilItEnds) {
  EventFeed feed;
  CallLog log(feed, {.calls = 2, .bytes = 2000});
  EventFeed::Reader reader(feed, feed.position());
  log.put({1, true, "one", std::string(1800, 'x')});
  for (int i = 2; i <= 4; ++i) log.put({i, false, std::to_string(i), "{}"});
  EXPECT_EQ(log.list().summaries, "[one,4]");
  log.clear();
  EXPECT_EQ(log.list().summaries, "[one]");
  log.put({1, false, "ONE", std::string(1800, 'y')});
  log.put({5, false, "5", "{}"});
  EXPECT_EQ(log.list().summaries, "[ONE,5]");
  std::string told;
  for (const auto& event : reader.next({}).events) told += event.data;
  EXPECT_EQ(told, "one234{}ONE5");
  EXPECT_EQ(log.list().position, feed.position());
}

TEST(CurvesTest, StayBoundedAndKeepBothEnds) {
  Curves curves;
  const auto at = [](std::int64_t i) { return Time(std::chrono::milliseconds(i)); };
  EXPECT_TRUE(curves.note(1, {at(0), 1, 1, 1}));
  EXPECT_FALSE(curves.note(1, {at(1), 1, 1, 1}));
  for (std::int64_t i = 2; i < 5000; ++i) curves.note(1, {at(i), i, 0, 0});
  const auto points = curves.of(1);
  EXPECT_LE(points.size(), Curves::mostPoints);
  EXPECT_EQ(points.front().at, at(0));
  EXPECT_EQ(points.back().viewers, 4999);
  for (std::int64_t stream = 2; stream < 500; ++stream) curves.note(stream, {});
  EXPECT_TRUE(curves.of(1).empty());
}

/// The text of the logged call of that number.
std::string logged(const Backend& backend, int number) {
  return backend.send("GET", "/sandbox/requests/" + std::to_string(number)).body;
}

TEST(DashboardTest, CallsAreLoggedReadablyAndWithoutSecrets) {
  const Backend backend;
  const auto session = backend.registerMember("ann", "sesame");
  const auto token = session.text("accessToken");
  EXPECT_THAT(logged(backend, 1),
              AllOf(HasSubstr(R"(\"password\":\"•••\")"), Not(HasSubstr("sesame")),
                    Not(HasSubstr(token)), HasSubstr(token.substr(0, 6) + "…")));
  ASSERT_THAT(backend.post("/sandbox/faults",
                           {{"endpoint", "/api/users/edit-profile"}, {"fault", "refuse"}}),
              HasCode(1));
  EXPECT_EQ(backend.editProfile(token, "\xFF not a picture").status, 0);
  EXPECT_THAT(logged(backend, 2),
              AllOf(HasSubstr(R"("caller":"ann")"), HasSubstr(R"("fault":"refuse")"),
                    HasSubstr(R"("status":null)"), HasSubstr(R"("name":"profile")"),
                    Not(HasSubstr("not a picture"))));
  EXPECT_EQ(backend.postText("/api/\xFF", "\xFF" + std::string(100'000, 'x')).status, 404);
  EXPECT_THAT(logged(backend, 3), AllOf(HasSubstr("/api/\uFFFD"), HasSubstr(R"("isCut":true)"),
                                        HasSubstr(R"("sent":100001)")));
  EXPECT_EQ(backend.send("GET", "/" + std::string(5000, 'a')).status, 414);
  EXPECT_THAT(logged(backend, 4), HasSubstr(R"("status":414)"));
  EXPECT_THAT(backend.send("DELETE", "/sandbox/requests"), HasCode(1));
  for (const char* number : {"4", "9999", "-1", "x", ""})
    EXPECT_THAT(backend.send("GET", std::string("/sandbox/requests/") + number), HasCode(404));
}

TEST(DashboardTest, StreamsAreDrawnFromTheirBeginningOn) {
  const Backend backend;
  const auto token = backend.join("ann").text("accessToken");
  const json::Object plan{{"streamTitle", "Soup"}, {"tagId", 1},      {"latitude", 0},
                          {"longitude", 0},        {"address", ""},   {"resolution", 720},
                          {"countryCode", "VN"},   {"screenType", 0}, {"streamType", 0}};
  const auto slug = backend.post("/api/streams/create", plan, token).text("slug");
  const auto curve = [&] {
    const auto points = backend.send("GET", "/sandbox/streams/" + slug).data("curve");
    return *points.as<json::Array>();
  };
  EXPECT_TRUE(curve().empty());
  ASSERT_THAT(backend.post("/api/streams/begin", {{"slug", slug}}, token), HasCode(1));
  while (curve().empty()) std::this_thread::yield();
  ASSERT_THAT(
      backend.post("/api/streams/like", {{"slug", slug}, {"count", 3}, {"isUnique", false}}, token),
      HasCode(1));
  while (*curve().back().as<json::Object>()->find("likes") != json::Value(3))
    std::this_thread::yield();
  EXPECT_THAT(backend.send("GET", "/sandbox/streams/none"), HasCode(404));
  EXPECT_EQ(backend.send("GET", "/sandbox/users/AN").data("members").as<json::Array>()->size(), 1U);
  EXPECT_TRUE(backend.send("GET", "/sandbox/users/bob").data("members").as<json::Array>()->empty());
}

/// What the stream of events says until that text has come.
std::string eventsUntil(const Backend& backend, const std::string& text,
                        const httplib::Headers& headers = {}) {
  httplib::Client client("127.0.0.1", backend.port());
  client.set_read_timeout(std::chrono::seconds(60));
  std::string received;
  (void)client.Get("/sandbox/events", headers, [&](const char* data, std::size_t size) {
    received.append(data, size);
    return received.find(text) == std::string::npos;
  });
  return received;
}

TEST(DashboardTest, EventsAreTakenUpBehindTheLastOneThatCame) {
  const Backend backend;
  const auto start = backend.send("GET", "/sandbox/requests").text("position");
  for (const char* name : {"ann", "bob"}) (void)backend.join(name);
  const auto both = eventsUntil(backend, R"("number":2)", {{"Last-Event-ID", start}});
  const auto line = both.rfind("id: ", both.rfind(R"("number":1,)"));
  const auto first = both.substr(line + 4, both.find('\n', line) - line - 4);
  EXPECT_THAT(eventsUntil(backend, R"("number":2)", {{"Last-Event-ID", first}}),
              AllOf(HasSubstr("event: call"), Not(HasSubstr(R"("number":1,)"))));
  EXPECT_THAT(eventsUntil(backend, "resync", {{"Last-Event-ID", "another-1"}}),
              HasSubstr("event: resync"));
}

TEST(DashboardTest, CallsAreShownWhileTheyAreCarriedOut) {
  const Backend backend;
  const auto start = backend.send("GET", "/sandbox/requests").text("position");
  const auto token = backend.join("ann").text("accessToken");
  const json::Object delay{
      {"endpoint", "/api/users/logout"}, {"fault", "delay"}, {"milliseconds", 600'000}};
  ASSERT_THAT(backend.post("/sandbox/faults", delay), HasCode(1));
  std::thread caller([&] {
    (void)backend.send("POST", "/api/users/logout",
                       {{"Authorization", "bearer " + token}, {"traceparent", "00-abc-1-01"}});
  });
  EXPECT_THAT(eventsUntil(backend, R"("number":2)", {{"Last-Event-ID", start}}),
              AllOf(HasSubstr(R"("traceId":"abc")"), HasSubstr(R"("number":1,)"),
                    HasSubstr(R"("path":"/api/users/logout")")));
  EXPECT_THAT(logged(backend, 2),
              AllOf(HasSubstr(R"("caller":"ann")"), HasSubstr("bearer "),
                    HasSubstr(R"("milliseconds":null)"), HasSubstr(R"("responseBody":null)")));
  EXPECT_THAT(backend.send("DELETE", "/sandbox/requests").body,
              AllOf(HasSubstr(R"("calls":[{"number":2,)"), Not(HasSubstr(R"("number":1,)"))));
  backend.sandbox->stop();
  caller.join();
}

TEST(DashboardTest, ReadersOfEventsHoldUpNeitherCallsNorTheEnd) {
  const Backend backend;
  const auto start = backend.send("GET", "/sandbox/requests").text("position");
  (void)backend.join("ann");
  std::latch begun(30);
  std::list<std::thread> readers;
  for (int i = 0; i < 30; ++i) {
    readers.emplace_back([&] {
      httplib::Client client("127.0.0.1", backend.port());
      bool isFirst = true;
      (void)client.Get("/sandbox/events", {{"Last-Event-ID", start}},
                       [&](const char*, std::size_t) {
                         if (std::exchange(isFirst, false)) begun.count_down();
                         return true;
                       });
    });
  }
  begun.wait();
  EXPECT_THAT(backend.join("bob"), HasCode(1));
  backend.sandbox->stop();
  for (auto& reader : readers) reader.join();
}

TEST(DashboardTest, ThePageIsServedOnceAndGuarded) {
  const Backend backend;
  httplib::Client client("127.0.0.1", backend.port());
  const auto page = client.Get("/");
  ASSERT_TRUE(page && page->status == 200);
  EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_THAT(page->get_header_value("Content-Security-Policy"),
              AllOf(HasSubstr("default-src 'none'"), Not(HasSubstr("unsafe"))));
  EXPECT_THAT(exchange(backend.port(), "GET / HTTP/1.1\r\nHost: localhost\r\nIf-None-Match: " +
                                           page->get_header_value("ETag") + "\r\n\r\n"),
              AllOf(StartsWith("HTTP/1.1 304 "), EndsWith("\r\n\r\n")));
  EXPECT_EQ(backend.send("GET", "/dashboard/../index.html").status, 404);
  for (const char* path : {"/sandbox/events", "/sandbox/requests", "/sandbox/users"}) {
    for (const char* site : {"cross-site", "same-site"})
      EXPECT_EQ(backend.send("GET", path, {{"Sec-Fetch-Site", site}}).status, 403) << path;
    EXPECT_EQ(backend.send("GET", path, {{"Origin", "http://localhost:3000"}}).status, 403) << path;
    EXPECT_EQ(backend.send("GET", path, {{"Host", "evil.example"}}).status, 403) << path;
  }
  EXPECT_EQ(backend.send("GET", "/", {{"Sec-Fetch-Site", "cross-site"}}).status, 200);
}

}  // namespace
}  // namespace zavelo::sandbox

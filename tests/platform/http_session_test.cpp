#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <thread>

#include "support/loopback_server.hpp"
#include "support/temporary_folder.hpp"
#include "tests/support/http_answers.hpp"
#include "zavelo/core/version.hpp"
#include "zavelo/platform/curl_http_session.hpp"

namespace zavelo {
namespace {

using test::fetch;
using test::get;
using test::HttpAnswers;
using test::LoopbackServer;
using test::ReceivedRequest;
using test::ServerConnection;
using testing::Contains;
using testing::HasSubstr;

void ok(const ReceivedRequest&, ServerConnection& connection) {
  connection.reply(200, "fine");
}

HttpRequest with(ZVHTTPMethod method, std::string url,
                 decltype(HttpRequest::body) body = std::monostate()) {
  HttpRequest request = get(std::move(url));
  request.method = method;
  request.body = std::move(body);
  return request;
}

TEST(CurlHttpSession, HandsOverStatusHeadersAndBody) {
  LoopbackServer server([](const ReceivedRequest&, ServerConnection& connection) {
    connection.send("HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n");
    connection.reply(404, "no such thing", "Set-Cookie: a=1\r\nset-cookie:b=2 \r\nX-Empty:\r\n");
  });
  CurlHttpSession session;
  auto request = get(server.url());
  EXPECT_EQ(fetch(session, request).times, std::nullopt);
  request.isMeasured = true;
  const auto reply = fetch(session, request);
  ASSERT_TRUE(reply.times);
  EXPECT_EQ(reply.times->receivedBytes, reply.body.size());
  EXPECT_GT(reply.times->waiting.count(), 0);
  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(reply.body, "no such thing");
  EXPECT_FALSE(reply.failure);
  EXPECT_THAT(
      reply.headers,
      testing::ElementsAre(HttpHeader{"Content-Length", "13"}, HttpHeader{"Set-Cookie", "a=1"},
                           HttpHeader{"set-cookie", "b=2"}, HttpHeader{"X-Empty", ""}));
}

TEST(CurlHttpSession, SendsEachMethodWithTheBodyItIsGiven) {
  LoopbackServer server(ok);
  CurlHttpSession session;
  const std::string bytes("a\0b", 3);
  for (const auto method : {ZVHTTPMethod::get, ZVHTTPMethod::post, ZVHTTPMethod::put,
                            ZVHTTPMethod::patch, ZVHTTPMethod::del, ZVHTTPMethod::options}) {
    auto sent = with(method, server.url("/with"), bytes);
    sent.headers = {{"X-Empty", " "}, {"X-Text", "a: b;"}};
    fetch(session, sent);
    const auto request = server.requests().back();
    EXPECT_EQ(request.header("X-Text"), "a: b;");
    EXPECT_THAT(request.headers, Contains(std::pair<std::string, std::string>("X-Empty", "")));
    EXPECT_EQ(request.method, methodName(method));
    EXPECT_EQ(request.body, bytes) << request.method;
    EXPECT_EQ(request.header("Content-Type"), "") << request.method;
    EXPECT_EQ(request.header("Expect"), "") << request.method;

    fetch(session, with(method, server.url("/without")));
    EXPECT_EQ(server.requests().back().method, methodName(method));
    EXPECT_EQ(server.requests().back().body, "");
  }
}

TEST(CurlHttpSession, HeadDoesNotWaitForTheBodyThatItsReplyAnnounces) {
  LoopbackServer server([](const ReceivedRequest&, ServerConnection& connection) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 99000000\r\n\r\n");
  });
  CurlHttpSession session;
  const auto reply = fetch(session, with(ZVHTTPMethod::head, server.url()));
  EXPECT_EQ(server.requests().back().method, "HEAD");
  EXPECT_EQ(reply.status, 200);
  EXPECT_FALSE(reply.failure);
}

TEST(CurlHttpSession, EncodesAFormPartByPart) {
  LoopbackServer server(ok);
  CurlHttpSession session;
  const std::string picture("\xff\xd8\0\r\n--", 7);
  fetch(session, with(ZVHTTPMethod::post, server.url(),
                      std::vector<HttpFormPart>{
                          {"na\"me\r\nX-Evil: 1", "v\xc3\xa4lue", "", ""},
                          {"avatar", picture, "\xf0\x9f\x98\x80 \"1\".jpg", "image/jpeg"}}));
  const auto request = server.requests().back();
  const auto type = request.header("Content-Type");
  ASSERT_THAT(type, testing::StartsWith("multipart/form-data; boundary="));
  const auto boundary = "--" + type.substr(type.find('=') + 1);
  EXPECT_EQ(request.body,
            boundary +
                "\r\nContent-Disposition: form-data; name=\"na%22me%0D%0AX-Evil: 1\"\r\n\r\n"
                "v\xc3\xa4lue\r\n" +
                boundary +
                "\r\nContent-Disposition: form-data; name=\"avatar\"; "
                "filename=\"\xf0\x9f\x98\x80 %221%22.jpg\"\r\nContent-Type: image/jpeg\r\n\r\n" +
                picture + "\r\n" + boundary + "--\r\n");
}

TEST(CurlHttpSession, UnpacksACompressedReply) {
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    EXPECT_THAT(request.header("Accept-Encoding"), HasSubstr("gzip"));
    const std::string packed(
        "\x1f\x8b\x08\0\0\0\0\0\0\x03\xcb\x48\xcd\xc9\xc9\x07\0\x86\xa6\x10\x36\x05\0\0\0", 25);
    connection.reply(200, packed, "Content-Encoding: gzip\r\n");
  });
  CurlHttpSession session;
  EXPECT_EQ(fetch(session, get(server.url())).body, "hello");
}

TEST(CurlHttpSession, ReusesItsConnection) {
  LoopbackServer server(ok);
  CurlHttpSession session;
  for (int i = 0; i < 5; ++i) EXPECT_EQ(fetch(session, get(server.url())).status, 200);
  EXPECT_EQ(server.connections(), 1U);
}

/// Redirects from each path to what stands in its query, and answers everything else.
void redirecting(const ReceivedRequest& request, ServerConnection& connection) {
  const auto query = request.target.find('?');
  if (query == std::string::npos) return connection.reply(200, "here");
  const int status = std::stoi(request.target.substr(1));
  connection.reply(status, "", "Location: " + request.target.substr(query + 1) + "\r\n");
}

TEST(CurlHttpSession, FollowsRedirectsAsBrowsersDo) {
  LoopbackServer server(redirecting);
  CurlHttpSession session;
  const auto methodAfter = [&](ZVHTTPMethod method, const char* status) {
    auto request = with(method, server.url(std::string("/") + status + "?/there"), "body");
    request.headers = {{"Content-Type", "text/plain"}};
    EXPECT_EQ(fetch(session, request).body, "here");
    const auto received = server.requests().back();
    EXPECT_EQ(received.body.empty(), received.header("Content-Type").empty());
    return received.method + ":" + received.body;
  };
  EXPECT_EQ(methodAfter(ZVHTTPMethod::post, "301"), "GET:");
  EXPECT_EQ(methodAfter(ZVHTTPMethod::post, "302"), "GET:");
  EXPECT_EQ(methodAfter(ZVHTTPMethod::patch, "303"), "GET:");
  EXPECT_EQ(methodAfter(ZVHTTPMethod::put, "302"), "PUT:body");
  EXPECT_EQ(methodAfter(ZVHTTPMethod::post, "307"), "POST:body");
  EXPECT_EQ(methodAfter(ZVHTTPMethod::post, "308"), "POST:body");
}

TEST(CurlHttpSession, KeepsAuthorizationFromAnotherHost) {
  LoopbackServer other(redirecting);
  LoopbackServer server(redirecting);
  CurlHttpSession session;
  auto request = get(server.url("/302?/same"));
  request.headers = {{"authorization", "Bearer secret"}};
  fetch(session, request);
  EXPECT_EQ(server.requests().back().header("authorization"), "Bearer secret");

  request.url = server.url("/302?" + other.url("/there"));
  EXPECT_EQ(fetch(session, request).body, "here");
  EXPECT_EQ(other.requests().back().header("authorization"), "");
}

TEST(CurlHttpSession, RefusesARedirectThatWouldGiveAwayWhatWasSent) {
  const test::ServerCertificate certificate("IP:127.0.0.1");
  const test::TemporaryFolder folder;
  certificate.appendTo(folder / "known.pem");
  LoopbackServer other(redirecting);
  LoopbackServer server(redirecting);
  LoopbackServer secure(redirecting, &certificate);
  CurlHttpSession session({.certificateAuthorities = folder / "known.pem"});
  const auto to = [](const LoopbackServer& from, const char* status, const std::string& target) {
    return from.url(std::string("/") + status + "?" + target);
  };
  struct Case {
    HttpRequest request;
    const char* failure;  ///< none: followed
  };
  const auto post = ZVHTTPMethod::post;
  const std::vector<HttpFormPart> form{{"password", "secret", "", ""}};
  const std::string encrypted = secure.url().substr(0, secure.url().size() - 1);
  for (const auto& each : std::vector<Case>{
           {with(post, to(server, "307", other.url("/x")), "secret"), "to another origin"},
           {with(post, to(server, "308", other.url("/x")), form), "to another origin"},
           {with(ZVHTTPMethod::put, to(server, "302", other.url("/x")), "x"), "to another origin"},
           {with(post, to(server, "307", other.url("/x"))), nullptr},
           {with(post, to(server, "302", other.url("/x")), "secret"), nullptr},
           {with(post, to(secure, "307", "HTTPS" + encrypted.substr(5) + "/x"), "secret"), nullptr},
           {get(to(secure, "302", other.url("/x"))), "without encryption"}}) {
    const auto before = other.requests().size();
    const auto reply = fetch(session, each.request);
    EXPECT_EQ(reply.failure.has_value(), each.failure != nullptr) << each.request.url;
    if (!each.failure || !reply.failure) continue;
    EXPECT_THAT(reply.failure->description, HasSubstr(each.failure));
    EXPECT_EQ(other.requests().size(), before);
  }
}

TEST(CurlHttpSession, NamesItselfUnlessTheRequestHasAUserAgent) {
  LoopbackServer server(ok);
  CurlHttpSession session;
  auto request = get(server.url());
  fetch(session, request);
  EXPECT_EQ(server.requests().back().header("User-Agent"),
            "ZaveloCore/" + std::string(zavelo::version));
  request.headers = {{"user-agent", "app/1"}};
  fetch(session, request);
  EXPECT_EQ(server.requests().back().header("user-agent"), "app/1");
  EXPECT_EQ(server.requests().back().header("User-Agent"), "");
}

TEST(CurlHttpSession, ReportsAnUploadToItsEndBeforeTheReply) {
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    connection.reply(200, std::to_string(request.body.size()));
  });
  CurlHttpSession session;
  for (const auto& body : std::vector<decltype(HttpRequest::body)>{
           std::string("x"), std::string(4'000'000, 'x'),
           std::vector<HttpFormPart>{{"f", std::string(2'000'000, 'x'), "f.bin", ""}}}) {
    std::vector<HttpUpload> uploads;
    auto request = with(ZVHTTPMethod::post, server.url(), body);
    request.onUpload = [&](const HttpUpload& upload) {
      uploads.push_back(upload);
      throw std::runtime_error("a mistake in a handler");
    };
    const auto reply = fetch(session, request);
    const std::uint64_t total = std::stoul(reply.body);
    ASSERT_FALSE(uploads.empty());
    EXPECT_EQ(uploads.back(), (HttpUpload{total, total}));
    for (std::size_t i = 1; i < uploads.size(); ++i)
      EXPECT_GT(uploads[i].sent, uploads[i - 1].sent);
  }
}

TEST(CurlHttpSession, GivesUpOnARedirectThatLeadsNowhere) {
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    const auto* to = request.target == "/file" ? "file:///etc/passwd" : "/again";
    connection.reply(302, "", std::string("Location: ") + to + "\r\n");
  });
  CurlHttpSession session;
  for (const auto* path : {"/file", "/loop"}) {
    const auto reply = fetch(session, get(server.url(path)));
    ASSERT_TRUE(reply.failure) << path;
    EXPECT_EQ(reply.failure->kind, HttpFailure::Kind::broken) << path;
    EXPECT_THAT(reply.failure->description, HasSubstr("redirected")) << path;
  }
}

TEST(CurlHttpSession, AnswersEveryCallOfSeveralThreads) {
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    connection.reply(200, request.target);
  });
  CurlHttpSession session;
  HttpAnswers answers;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 50; ++k) session.send(get(server.url("/x")), answers.handler());
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& reply : answers.take(200)) EXPECT_EQ(reply.body, "/x");
}

TEST(CurlHttpSession, MaySendCancelAndEndFromItsHandlers) {
  LoopbackServer server([](const ReceivedRequest& request, ServerConnection& connection) {
    if (request.target == "/held") return connection.hold();
    connection.reply(200, "fine");
  });
  HttpAnswers answers;
  auto session = std::make_unique<CurlHttpSession>();
  const auto held = session->send(get(server.url("/held")), answers.handler());
  server.waitForRequests(1);
  session->send(get(server.url()), [&](HttpReply) {
    session->send(get(server.url()), [&](HttpReply reply) {
      EXPECT_EQ(reply.status, 200);
      held->cancel();
      session->send(get(server.url("/held")), answers.handler());
      session.reset();
      answers.handler()(HttpReply());
      throw std::runtime_error("a mistake in a handler");
    });
  });
  const auto replies = answers.take(3);
  EXPECT_EQ(replies[0].failure->kind, HttpFailure::Kind::cancelled);
  EXPECT_EQ(replies[1].failure->kind, HttpFailure::Kind::cancelled);
}

}  // namespace
}  // namespace zavelo

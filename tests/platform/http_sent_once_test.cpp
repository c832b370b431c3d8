#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "support/loopback_server.hpp"
#include "support/temporary_folder.hpp"
#include "tests/support/http_answers.hpp"
#include "zavelo/platform/curl_http_session.hpp"

namespace zavelo {
namespace {

using test::fetch;
using test::HttpAnswers;
using test::LoopbackServer;
using test::ServerConnection;
using testing::HasSubstr;
using Body = decltype(HttpRequest::body);
using Kind = HttpFailure::Kind;

constexpr std::size_t large = 3'000'000;

struct Sent {
  const char* name;
  ZVHTTPMethod method;
  Body body;
};

std::vector<Sent> everyKindOfRequest() {
  const std::vector<HttpFormPart> form{{"f", std::string(large, 'f'), "f.bin", ""}};
  return {{"post without body", ZVHTTPMethod::post, {}},
          {"post", ZVHTTPMethod::post, std::string("gift")},
          {"large post", ZVHTTPMethod::post, std::string(large, 'x')},
          {"form", ZVHTTPMethod::post, std::vector<HttpFormPart>{{"a", "b", "", ""}}},
          {"large form", ZVHTTPMethod::post, form},
          {"patch", ZVHTTPMethod::patch, std::string("gift")},
          {"get", ZVHTTPMethod::get, {}},
          {"put", ZVHTTPMethod::put, std::string("gift")},
          {"delete", ZVHTTPMethod::del, {}}};
}

HttpRequest requestOf(const Sent& sent, std::string url) {
  HttpRequest request;
  request.method = sent.method;
  request.url = std::move(url);
  request.body = sent.body;
  return request;
}

enum class Ending { close, reset, closeInsideBody, closeWhileIdle };

/// Answers the first request of the first connection, and ends it in the second one. Later
/// connections get the fault too while `every` is set. Counts the heads of `/second`.
class DyingServer {
 public:
  DyingServer(Ending ending, bool every)
      : ending_(ending),
        every_(every),
        server_(LoopbackServer::RawHandler{[this](auto& connection) { serve(connection); }}) {}

  [[nodiscard]] std::string url(const char* path) const { return server_.url(path); }
  [[nodiscard]] int seconds() const { return seconds_; }
  void waitForClose() { closed_.get_future().wait(); }

 private:
  void serve(ServerConnection& connection) {
    std::string input;
    const int number = ++served_;
    while (receive(connection, input)) {
      const bool second = input.find(" /second ") != std::string::npos;
      if (second) ++seconds_;
      if (second && ending_ != Ending::closeWhileIdle && (number == 1 || every_)) {
        if (ending_ != Ending::closeInsideBody) receiveRest(connection, input);
        return ending_ == Ending::close ? connection.close() : connection.reset();
      }
      receiveRest(connection, input);
      connection.reply(200, "fine");
      if (number != 1 || ending_ != Ending::closeWhileIdle) continue;
      connection.close();
      return closed_.set_value();
    }
  }

  static bool receive(ServerConnection& connection, std::string& input) {
    input.clear();
    while (input.find("\r\n\r\n") == std::string::npos) {
      const auto more = connection.receive();
      if (more.empty()) return false;
      input += more;
    }
    return true;
  }

  static void receiveRest(ServerConnection& connection, std::string& input) {
    const auto length = input.find("Content-Length: ");
    if (length == std::string::npos) return;
    const auto whole = input.find("\r\n\r\n") + 4 + std::stoul(input.substr(length + 16));
    while (input.size() < whole) {
      const auto more = connection.receive();
      if (more.empty()) return;
      input += more;
    }
  }

  const Ending ending_;
  const bool every_;
  std::promise<void> closed_;
  std::atomic<int> served_{0};
  std::atomic<int> seconds_{0};
  LoopbackServer server_;
};

HttpReply secondReply(CurlHttpSession& session, const DyingServer& server, const Sent& sent) {
  EXPECT_EQ(fetch(session, test::get(server.url("/first"))).status, 200);
  return fetch(session, requestOf(sent, server.url("/second")));
}

void expectClosed(const HttpReply& reply) {
  ASSERT_TRUE(reply.failure);
  EXPECT_EQ(reply.failure->kind, Kind::broken);
  EXPECT_THAT(reply.failure->description,
              HasSubstr("the connection was closed before the answer of 127.0.0.1:"));
}

TEST(CurlHttpSentOnce, KeptConnectionThatDiesFailsWhatMustNotBeRepeated) {
  int sentOnce = 0;
  for (const auto ending : {Ending::close, Ending::reset, Ending::closeInsideBody}) {
    for (const auto& sent : everyKindOfRequest()) {
      SCOPED_TRACE(std::string(sent.name) + ", ending " + std::to_string(int(ending)));
      DyingServer server(ending, false);
      CurlHttpSession session;
      const auto reply = secondReply(session, server, sent);
      const bool repeatable =
          sent.method != ZVHTTPMethod::post && sent.method != ZVHTTPMethod::patch;
      EXPECT_EQ(server.seconds(), repeatable ? 2 : 1);
      if (repeatable) {
        EXPECT_EQ(reply.status, 200);
      } else {
        expectClosed(reply);
        ++sentOnce;
      }
    }
  }
  RecordProperty("requests sent once", sentOnce);
}

TEST(CurlHttpSentOnce, RepeatableRequestIsRepeatedOnce) {
  for (const auto ending : {Ending::close, Ending::reset}) {
    DyingServer server(ending, true);
    CurlHttpSession session;
    expectClosed(secondReply(session, server, {"put", ZVHTTPMethod::put, std::string("x")}));
    EXPECT_EQ(server.seconds(), 2);
  }
}

TEST(CurlHttpSentOnce, ConnectionThatTheServerClosedWhileIdleIsReplaced) {
  for (const auto& sent : everyKindOfRequest()) {
    DyingServer server(Ending::closeWhileIdle, false);
    CurlHttpSession session;
    EXPECT_EQ(fetch(session, test::get(server.url("/first"))).status, 200);
    server.waitForClose();
    EXPECT_EQ(fetch(session, requestOf(sent, server.url("/second"))).status, 200) << sent.name;
    EXPECT_EQ(server.seconds(), 1) << sent.name;
  }
}

TEST(CurlHttpSentOnce, IdleConnectionIsDroppedAfterItsTime) {
  LoopbackServer server(
      [](const auto&, ServerConnection& connection) { connection.reply(200, ""); });
  CurlHttpSession session({.connectionReuse = std::chrono::seconds(1)});
  fetch(session, test::get(server.url()));
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  fetch(session, test::get(server.url()));
  EXPECT_EQ(server.connections(), 2U);
}

/// A frame of HTTP/2 (RFC 9113 section 4.1).
std::string frame(char type, char flags, char stream, std::string_view payload) {
  const char head[] = {0, 0, static_cast<char>(payload.size()), type, flags, 0, 0, 0, stream};
  return std::string(head, sizeof(head)).append(payload);
}

/// What an HTTP/2 server does to the requests of one connection: answer, refuse to look, hang up.
enum class Does { answer, refuse, hangUp };

/// Counts the requests (HEADERS frames) that reach it.
class Http2Server {
 public:
  explicit Http2Server(std::vector<Does> script)
      : script_(std::move(script)),
        server_(LoopbackServer::RawHandler{[this](auto& connection) { serve(connection); }, "h2"},
                &certificate_) {
    certificate_.appendTo(authorities());
  }

  [[nodiscard]] std::string url() const { return server_.url(); }
  [[nodiscard]] std::string authorities() const { return folder_ / "known.pem"; }
  [[nodiscard]] std::size_t requests() const { return requests_; }

 private:
  void serve(ServerConnection& connection) {
    constexpr std::size_t preface = 24;
    constexpr char headers = 1;
    constexpr char reset = 3;
    constexpr char settings = 4;
    std::string input;
    const auto has = [&](std::size_t size) {
      while (input.size() < size) {
        const auto more = connection.receive();
        if (more.empty()) return false;
        input += more;
      }
      return true;
    };
    connection.send(frame(settings, 0, 0, ""));
    if (!has(preface)) return;
    input.erase(0, preface);
    while (has(9)) {
      const auto length = static_cast<unsigned char>(input[1]) * std::size_t{256} +
                          static_cast<unsigned char>(input[2]);
      if (!has(9 + length)) return;
      const char type = input[3];
      const char stream = input[8];
      input.erase(0, 9 + length);
      if (type == settings) connection.send(frame(settings, 1, 0, ""));
      if (type != headers) continue;
      const auto number = requests_++;
      const Does does = number < script_.size() ? script_[number] : Does::hangUp;
      if (does == Does::hangUp) return connection.close();
      if (does == Does::refuse) connection.send(frame(reset, 0, stream, {"\0\0\0\7", 4}));
      if (does == Does::answer) connection.send(frame(headers, 5, stream, "\x88"));  // :status 200
    }
  }

  const std::vector<Does> script_;
  std::atomic<std::size_t> requests_{0};
  const test::TemporaryFolder folder_;
  const test::ServerCertificate certificate_{"IP:127.0.0.1"};
  LoopbackServer server_;
};

TEST(CurlHttpSentOnce, OverHttp2OnlyWhatTheServerRefusedIsSentAgain) {
  const Sent post{"post", ZVHTTPMethod::post, std::string("gift")};
  const Sent get{"get", ZVHTTPMethod::get, {}};
  struct Case {
    const char* name;
    std::vector<Does> script;
    std::vector<Sent> sent;
    std::size_t fewest;  ///< requests; whether curl repeats one depends on its timing
  };
  for (const auto& each : std::vector<Case>{
           {"refused", {Does::refuse, Does::answer}, {post}, 1},
           {"hung up", {Does::answer, Does::hangUp}, {get, post}, 2},
           {"get hung up", {Does::answer, Does::hangUp, Does::answer}, {get, get}, 2},
           // Curl does not say why it wants to repeat this one.
           {"kept and refused", {Does::answer, Does::refuse, Does::answer}, {get, post}, 2}}) {
    SCOPED_TRACE(each.name);
    Http2Server server(each.script);
    CurlHttpSession session({.certificateAuthorities = server.authorities()});
    HttpReply reply;
    for (const auto& sent : each.sent) reply = fetch(session, requestOf(sent, server.url()));
    ASSERT_GE(server.requests(), each.fewest);
    ASSERT_LE(server.requests(), each.script.size());
    if (each.script.at(server.requests() - 1) == Does::answer) {
      EXPECT_EQ(reply.status, 200);
      EXPECT_FALSE(reply.failure) << reply.failure->description;
    } else {
      expectClosed(reply);
    }
  }
}

}  // namespace
}  // namespace zavelo

#include <gmock/gmock.h>

#include "support/loopback_server.hpp"
#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"

namespace zavelo::test {
namespace {

using ::testing::HasSubstr;
using Type = ZVAPIErrorType;
using namespace std::chrono_literals;

struct BadReply {
  const char* name;
  LoopbackServer::Handler handler;
  Type type;
  const char* description;
  const char* detail = "";
};

LoopbackServer::Handler body(std::string text, int status = 200) {
  return [text = std::move(text), status](const auto&, ServerConnection& connection) {
    connection.reply(status, text);
  };
}

/// Sends that and hangs up.
LoopbackServer::Handler bytes(std::string text) {
  return [text = std::move(text)](const auto&, auto& connection) {
    connection.send(text);
    connection.close();
  };
}

const BadReply badReplies[] = {
    {"a page", body("<html></html>", 500), Type::invalidData, "Invalid data!"},
    {"a flag that is a number", body(R"({"code":1,"data":{"result":[{},{"isFollow":true}]}})"),
     Type::invalidData, "Invalid data!", "data.result[1].isFollow"},
    {"100,000 levels", body(R"({"code":1,"data":{"x":)" + std::string(100'000, '[')),
     Type::invalidData, "Invalid data!"},
    {"64 MB", body(std::string(std::size_t{64} << 20, ' ')), Type::unknown,
     "longer than 33554432 bytes"},
    {"not HTTP", bytes("SSH-2.0-OpenSSH_9.2\r\n"), Type::unknown, "does not answer in HTTP"},
    {"not gzip",
     bytes("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 5\r\n\r\nplain"),
     Type::unknown, "cannot be unpacked"},
    {"cut", bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"code\":1,"), Type::unknown,
     "broke"},
    {"reset", [](const auto&, auto& connection) { connection.reset(); }, Type::unknown,
     "the connection was closed before the answer"},
    {"no answer", [](const auto&, auto& connection) { connection.close(); }, Type::unknown,
     "the connection was closed before the answer of 127.0.0.1:"},
    {"silence", [](const auto&, auto& connection) { connection.hold(); }, Type::unknown, "in time"},
    {"401 without a session", body("{}", 401), Type::unauthorized, "Unauthorized!"},
};

TEST(BadReply, EachIsOneClearErrorAndTheServiceGoesOn) {
  const TemporaryFolder folder;
  const LoopbackServer sound(body(R"({"code":1,"data":{"isEnd":true}})"));
  App app(sound.url(""), folder / "store", {.idleTimeout = 1500ms, .certificateAuthorities = {}});
  for (const auto& [name, handler, type, description, detail] : badReplies) {
    SCOPED_TRACE(name);
    const LoopbackServer server(handler);
    const auto answer = app.call(server.url("/api/x"));
    ASSERT_FALSE(answer.ok);
    EXPECT_EQ(answer.error.type, type);
    EXPECT_THAT(answer.error.description, HasSubstr(description));
    EXPECT_THAT(answer.error.detail, HasSubstr(detail));
    EXPECT_TRUE(app.call(sound.url("/api/x")).ok);
  }
}

TEST(Certificate, IsTrustedOnlyFromTheAuthoritiesAndForTheHost) {
  const TemporaryFolder folder;
  const auto authorities = folder / "authorities.pem";
  const ServerCertificate known("IP:127.0.0.1");
  const ServerCertificate ofAnotherHost("DNS:example.test");
  const ServerCertificate unknown("IP:127.0.0.1");
  known.appendTo(authorities);
  ofAnotherHost.appendTo(authorities);
  const auto sound = body(R"({"code":1,"data":{}})");
  const LoopbackServer trusted(sound, &known);
  App app(trusted.url(""), folder / "store", {.certificateAuthorities = authorities.string()});
  EXPECT_TRUE(app.call(trusted.url("/x")).ok);
  for (const auto* certificate : {&ofAnotherHost, &unknown}) {
    const LoopbackServer server(sound, certificate);
    const auto answer = app.call(server.url("/x"));
    EXPECT_EQ(answer.error.type, Type::unknown);
    EXPECT_THAT(answer.error.description, HasSubstr("not trusted"));
    EXPECT_TRUE(server.requests().empty()) << "nothing was told to the stranger";
  }
}

TEST(ApiServiceEnding, AnswersEachCallOverAnOpenConnection) {
  constexpr std::size_t many = 50;
  const TemporaryFolder folder;
  LoopbackServer server([](const auto&, auto& connection) { connection.hold(); });
  App app(server.url(""), folder / "store");
  for (std::size_t i = 0; i < many; ++i) app.search();
  server.waitForRequests(1);
  app.user.reset();
  app.api.reset();
  app.waitForAnswers(many);
  EXPECT_EQ(app.answers.size(), many);
  for (const auto& answer : app.answers) EXPECT_EQ(answer.error.type, Type::noConnection);
}

}  // namespace
}  // namespace zavelo::test

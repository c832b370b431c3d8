#include <gmock/gmock.h>

#include "tests/e2e/app.hpp"
#include "tests/support/loopback_server.hpp"
#include "tests/support/temporary_folder.hpp"

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

void cut(const ReceivedRequest&, ServerConnection& connection) {
  connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"code\":1,");
  connection.close();
}

void stall(const ReceivedRequest&, ServerConnection& connection) {
  connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"code\":1,");
  connection.hold();
}

const BadReply badReplies[] = {
    {"nothing", body(""), Type::invalidData, "Invalid data!"},
    {"a page", body("<html></html>", 500), Type::invalidData, "Invalid data!"},
    {"a list", body("[1]"), Type::invalidData, "Invalid data!"},
    {"no code", body(R"({"data":{}})"), Type::invalidData, "Invalid data!"},
    {"no data", body(R"({"code":1,"data":null})"), Type::invalidData, "Invalid data!", "data"},
    {"code as a text", body(R"({"code":"1","data":{}})"), Type::invalidData, "Invalid data!",
     "code"},
    {"a flag that is a number", body(R"({"code":1,"data":{"result":[{},{"isFollow":true}]}})"),
     Type::invalidData, "Invalid data!", "data.result[1].isFollow"},
    {"half of the JSON", body(R"({"code":1,"data":{"nextId":)"), Type::invalidData,
     "Invalid data!"},
    {"invalid UTF-8", body("{\"code\":1,\"message\":\"\xFF\",\"data\":{}}"), Type::invalidData,
     "Invalid data!"},
    {"100,000 levels", body(R"({"code":1,"data":{"x":)" + std::string(100'000, '[')),
     Type::invalidData, "Invalid data!"},
    {"100,000 closed levels",
     body(R"({"code":1,"data":{"x":)" + std::string(100'000, '[') + std::string(100'000, ']') +
          "}}"),
     Type::invalidData, "Invalid data!"},
    {"64 MB", body(std::string(std::size_t{64} << 20, ' ')), Type::unknown,
     "longer than 33554432 bytes"},
    {"cut", cut, Type::unknown, "broke"},
    {"reset", [](const auto&, auto& connection) { connection.reset(); }, Type::unknown,
     "the connection to 127.0.0.1:"},
    {"no answer", [](const auto&, auto& connection) { connection.close(); }, Type::unknown,
     "closed the connection without an answer"},
    {"silence", [](const auto&, auto& connection) { connection.hold(); }, Type::unknown, "in time"},
    {"silence in the body", stall, Type::unknown, "in time"},
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

TEST(BadAddress, IsOneClearError) {
  const TemporaryFolder folder;
  App app("http://127.0.0.1", folder / "store");
  const std::pair<std::string, const char*> addresses[] = {
      {"http://127.0.0.1:" + std::to_string(unusedPort()) + "/x", "cannot connect"},
      {"", "neither http nor https"},
      {"http://[/x", "cannot send"},
      {"file:///etc/hosts", "neither http nor https"},
      {"https://no-such-host.invalid/x", "cannot find the host"},
      {"http://127.0.0.1:1/x\r\nEvil: 1", "control character"},
  };
  for (const auto& [address, description] : addresses) {
    SCOPED_TRACE(address);
    const auto answer = app.call(address);
    EXPECT_EQ(answer.error.type, Type::unknown);
    EXPECT_THAT(answer.error.description, HasSubstr(description));
  }
}

TEST(Certificate, IsTrustedOnlyFromTheAuthorityAndForTheHost) {
  const TemporaryFolder folder;
  const CertificateAuthority authority;
  authority.writePem(folder / "authority.pem");
  const auto sound = body(R"({"code":1,"data":{}})");
  const LoopbackServer trusted(authority.issue("IP:127.0.0.1"), sound);
  const LoopbackServer elsewhere(authority.issue("DNS:example.test"), sound);
  const LoopbackServer strange(CertificateAuthority("Stranger").issue("IP:127.0.0.1"), sound);
  App app(trusted.url(""), folder / "store",
          {.certificateAuthorities = (folder / "authority.pem").string()});
  EXPECT_TRUE(app.call(trusted.url("/x")).ok);
  for (const auto* server : {&elsewhere, &strange}) {
    const auto answer = app.call(server->url("/x"));
    EXPECT_EQ(answer.error.type, Type::unknown);
    EXPECT_THAT(answer.error.description, HasSubstr("not trusted"));
    EXPECT_TRUE(server->requests().empty()) << "nothing was told to the stranger";
  }
}

}  // namespace
}  // namespace zavelo::test

#include "zavelo/testing/scripted_http_session.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace zavelo::testing {
namespace {

using namespace std::chrono_literals;

class FaultySession : public ::testing::Test {
 protected:
  std::shared_ptr<HttpTask> ask(const std::string& name) {
    HttpRequest request;
    request.url = "https://api.test/api/" + name + "?x=/api/y#z";
    return session->send(std::move(request), [this, name](const HttpReply& reply) {
      heard += name + ":" + reply.body + (reply.failure ? "!" : "") + " ";
    });
  }
  void spoil(Fault fault) { session->faults().add({std::move(fault)}); }

  std::shared_ptr<ScriptedHttpSession> session = std::make_shared<ScriptedHttpSession>();
  std::string heard;
};

TEST_F(FaultySession, DelayedRepliesArriveWhenTheyAreDueInTheirOrder) {
  spoil({.endpoint = "/api/a", .delay = 300ms});
  spoil({.endpoint = "/api/b", .delay = 100ms});
  for (const char* body : {"1", "2", "3"}) session->reply(200, body);
  for (const char* name : {"a", "b", "c"}) ask(name);
  EXPECT_EQ(std::exchange(heard, ""), "c:3 ");
  EXPECT_EQ(session->waiting(), 2);
  session->advance(99ms);
  EXPECT_EQ(heard, "");
  session->advance(201ms);
  EXPECT_EQ(heard, "b:2 a:1 ");
}

TEST_F(FaultySession, DelayedReplyEndsWithItsRequestOrTheSession) {
  spoil({.count = 2, .delay = 1ms});
  session->reply(200, "1");
  session->reply(200, "2");
  const auto task = ask("a");
  ask("b");
  task->cancel();
  EXPECT_EQ(std::exchange(heard, ""), "a:! ");
  session.reset();
  EXPECT_EQ(heard, "b:! ");
}

TEST_F(FaultySession, CallThatIsNotDoneLeavesItsReplyToTheNext) {
  spoil({.endpoint = "/api/a", .kind = FaultKind::refuse});
  spoil({.endpoint = "/api/a", .kind = FaultKind::code, .code = 603, .message = "no"});
  ask("a");
  ask("a");
  EXPECT_EQ(std::exchange(heard, ""),
            R"(a:! a:{"code":603,"data":null,"message":"no","codeDetails":[]} )");
  spoil({.endpoint = "/api/a", .kind = FaultKind::cut});
  ask("a");
  ask("a");
  session->reply(200, "1234");
  session->reply(200, "5678");
  EXPECT_EQ(heard, "a:12! a:5678 ");
}

}  // namespace
}  // namespace zavelo::testing

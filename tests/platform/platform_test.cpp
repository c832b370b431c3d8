#include "zavelo/platform/platform.hpp"

#include <gmock/gmock.h>

#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace zavelo {
namespace {

using zavelo::testing::ManualClock;
using zavelo::testing::MemoryKeyValueStore;
using zavelo::testing::ScriptedHttpSession;

TEST(Platform, IsInstalledOnceBeforeUseAndFilledUpWithDefaults) {
  ZVPlatform supplied;
  supplied.store = std::make_shared<MemoryKeyValueStore>();
  const auto store = supplied.store;
  EXPECT_TRUE(ZVPlatform::install(std::move(supplied)));
  EXPECT_FALSE(ZVPlatform::install({}));
  EXPECT_EQ(platform::store(), store);
  EXPECT_NE(std::dynamic_pointer_cast<MainQueue>(platform::mainQueue()), nullptr);
  EXPECT_EQ(platform::mainQueue(), platform::mainQueue());
  EXPECT_TRUE(platform::httpSession() && platform::backgroundQueue() && platform::clock() &&
              platform::notifications() && platform::jpegEncoder() && platform::logSink());
}

TEST(StreamLogSink, WritesEntriesAsLines) {
  std::FILE* stream = std::tmpfile();
  StreamLogSink sink(stream);
  sink.write("one\ntwo");
  sink.write("");
  std::rewind(stream);
  char text[32]{};
  EXPECT_EQ(std::fread(text, 1, sizeof(text), stream), 9U);
  EXPECT_STREQ(text, "one\ntwo\n\n");
  std::fclose(stream);
}

TEST(ScriptedHttpSession, AnswersInOrderNowOrLater) {
  ScriptedHttpSession session;
  std::vector<std::string> got;
  const auto note = [&](HttpReply reply) {
    got.push_back(reply.failure ? reply.failure->description : reply.body);
  };
  session.reply(200, "one");
  session.send({}, note);
  session.send({}, note);
  EXPECT_EQ(session.waiting(), 1U);
  session.fail({HttpFailure::Kind::broken, "two"});
  session.lose();
  session.send({}, note);
  const auto task = session.send({}, note);
  task->cancel();
  task->cancel();
  EXPECT_THAT(got, ::testing::ElementsAre("one", "two", "the request was cancelled"));
  EXPECT_EQ(session.requests().size(), 4U);
}

}  // namespace
}  // namespace zavelo

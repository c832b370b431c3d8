#include "zavelo/platform/platform.hpp"

#include <gmock/gmock.h>

#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/fresh_library.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"

namespace zavelo {
namespace {

using zavelo::testing::ManualClock;
using zavelo::testing::MemoryKeyValueStore;

TEST(Platform, IsInstalledOnceBeforeUseAndFilledUpWithDefaults) {
  const zavelo::testing::FreshLibrary library;
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

}  // namespace
}  // namespace zavelo

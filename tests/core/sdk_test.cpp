#include "zavelo/core/sdk.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

#include "support/temporary_folder.hpp"
#include "tests/support/recorded_log.hpp"
#include "zavelo/api/api.hpp"
#include "zavelo/core/timestamp.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"
#include "zavelo/services/stream_service.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/fresh_library.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace zavelo {
namespace {

using testing::RecordedLog;

TEST(ZaveloSDK, IsOnTheDevelopmentBackendWithItsLogOnBeforeItIsInitialised) {
  const testing::FreshLibrary library;
  EXPECT_TRUE(ZaveloSDK::shared().enableLog());
  EXPECT_EQ(ZaveloSDK::shared().environment(), ZVEnvironment::demo());
  EXPECT_EQ(ZaveloSDK::shared().agoraAppId(), "");
  EXPECT_TRUE(ZVAPI(ZVAPI::login).url().starts_with("https://"));
}

TEST(ZaveloSDK, KeepsTheFirstEnvironmentAndTheLastLogSwitch) {
  const auto log = RecordedLog::install();
  auto& sdk = ZaveloSDK::shared();
  sdk.initWith(ZVEnvironment::custom({"https://first.test/"}), false, "app-1");
  EXPECT_TRUE(log->entries().empty()) << "the switch is off before the first line";
  sdk.initWith(ZVEnvironment::custom({"https://second.test"}), true, "app-2");
  ASSERT_EQ(log->entries().size(), 1u);
  EXPECT_NE(log->text().find(" initWith(environment:enableLog:) -> ZaveloCore has already been "
                             "initialized"),
            std::string::npos);
  EXPECT_EQ(sdk.agoraAppId(), "app-1");
  EXPECT_TRUE(sdk.enableLog());
  EXPECT_EQ(ZVAPI(ZVAPI::createStream).url(), "https://first.test//api/streams/create");
}

TEST(ZaveloSDK, HandsOutTheSameServicesEachTime) {
  ZVPlatform platform;
  platform.store = std::make_shared<testing::MemoryKeyValueStore>();
  const testing::FreshLibrary library(std::move(platform));
  const auto service = ZaveloSDK::shared().userService();
  EXPECT_EQ(service, ZaveloSDK::shared().userService());
  EXPECT_EQ(service, ZVUserService::shared());
  EXPECT_FALSE(ZVPlatform::install({})) << "too late to change it";
}

TEST(ZaveloSDK, OpensTheStoreOnlyForTheSession) {
  const auto store = std::make_shared<testing::MemoryKeyValueStore>();
  const std::string user = R"({"accessToken":"a1"})";
  const auto* bytes = reinterpret_cast<const std::byte*>(user.data());
  const auto http = std::make_shared<testing::ScriptedHttpSession>();
  ZVPlatform platform;
  platform.store = store;
  platform.httpSession = http;
  platform.mainQueue = std::make_shared<testing::ManualQueue>();
  const testing::FreshLibrary library(std::move(platform));
  const auto& sdk = ZaveloSDK::shared();
  const auto streams = sdk.streamService();
  static_cast<void>(sdk.productService());
  static_cast<void>(sdk.rtmService());
  // Too late for a session that was restored with the services.
  ASSERT_TRUE(store->set("ZVUser", StoreScalar(std::vector(bytes, bytes + user.size()))));
  streams->getStreamDetail("s1", [](auto) {});
  const auto request = http->requests().at(0);
  EXPECT_TRUE(std::any_of(request.headers.begin(), request.headers.end(),
                          [](const auto& header) { return header.value == "bearer a1"; }));
}

/// Asks for the current user whenever it is to write.
class AskingSink final : public LogSink {
 public:
  void write(std::string_view) override {
    EXPECT_FALSE(ZaveloSDK::shared().userService()->isLogin());
    ++entries;
  }
  std::atomic<int> entries = 0;
};

TEST(ZaveloSDK, LogAndHandlersMayAskForTheUserWhileTheStoreFailsAtTheStart) {
  const auto sink = std::make_shared<AskingSink>();
  const test::TemporaryFolder folder;
  std::ofstream(folder / "store.sqlite") << "damaged";
  const auto failing = std::make_shared<testing::MemoryKeyValueStore>();
  failing->failWith("no disk");
  const auto damaged = std::make_shared<SqliteKeyValueStore>(
      folder / "store.sqlite", [&](const auto&) { sink->write("damaged"); });
  for (const std::shared_ptr<KeyValueStore>& store :
       {std::shared_ptr<KeyValueStore>(failing), std::shared_ptr<KeyValueStore>(damaged)}) {
    sink->entries = 0;
    ZVPlatform platform;
    platform.store = store;
    platform.logSink = sink;
    const testing::FreshLibrary library(std::move(platform));
    std::vector<std::thread> threads;
    std::vector<ZVUserService*> seen(4);
    for (auto& service : seen)
      threads.emplace_back([&] { service = ZaveloSDK::shared().userService().get(); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(std::count(seen.begin(), seen.end(), ZVUserService::shared().get()), 4);
    EXPECT_GT(sink->entries, 0);
  }
}

TEST(MillisecondTimestamp, IsTheMediaClockTruncated) {
  ZVPlatform platform;
  const auto clock = std::make_shared<testing::ManualClock>();
  platform.clock = clock;
  const testing::FreshLibrary library(std::move(platform));
  clock->advance(std::chrono::microseconds(1'999));
  EXPECT_EQ(millisecondTimestamp(), 1);
}

}  // namespace
}  // namespace zavelo

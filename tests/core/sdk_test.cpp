#include "zavelo/core/sdk.hpp"

#include <gtest/gtest.h>

#include "tests/support/recorded_log.hpp"
#include "zavelo/api/api.hpp"
#include "zavelo/core/timestamp.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"

// Each test runs in a process of its own: these are about what exists once a process.

namespace zavelo {
namespace {

using testing::RecordedLog;

TEST(ZaveloSDK, IsOnTheDevelopmentBackendWithItsLogOnBeforeItIsInitialised) {
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
  ASSERT_TRUE(ZVPlatform::install(std::move(platform)));
  const auto service = ZaveloSDK::shared().userService();
  EXPECT_EQ(service, ZaveloSDK::shared().userService());
  EXPECT_EQ(service, ZVUserService::shared());
  EXPECT_FALSE(ZVPlatform::install({})) << "too late to change it";
}

TEST(MillisecondTimestamp, IsTheMediaClockTruncated) {
  ZVPlatform platform;
  const auto clock = std::make_shared<testing::ManualClock>();
  platform.clock = clock;
  ASSERT_TRUE(ZVPlatform::install(std::move(platform)));
  clock->advance(std::chrono::microseconds(1'999));
  EXPECT_EQ(millisecondTimestamp(), 1);
}

}  // namespace
}  // namespace zavelo

#include "zavelo/core/log.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "support/environment_variable.hpp"
#include "tests/support/recorded_log.hpp"
#include "zavelo/core/sdk.hpp"

namespace zavelo {
namespace {

using testing::RecordedLog;

class LogEntry : public ::testing::Test {
 protected:
  const test::EnvironmentVariable zone{"TZ"};
};

std::shared_ptr<RecordedLog> logAt(std::string_view zone, std::time_t utc, int milliseconds) {
  setenv("TZ", std::string(zone).c_str(), 1);
  tzset();
  return RecordedLog::install(std::chrono::system_clock::from_time_t(utc) +
                              std::chrono::milliseconds(milliseconds));
}

TEST_F(LogEntry, HasTwoLinesWithTheGivenPosition) {
  const auto log = logAt("EAT-3", 1'769'860'805, 123);  // 2026-01-31 12:00:05 UTC
  const ZVLogPosition where("a/b/File.swift", 65, 20, "initWith(environment:enableLog:)");
  ZVLog::i("ZaveloCore is initialized", where);
  ZVLog::e(42, where);
  const auto entries = log->entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0],
            "2026-01-31 03:00:05123\n[\u2139\uFE0F][File.swift]:65 20 "
            "initWith(environment:enableLog:) -> ZaveloCore is initialized");
  EXPECT_EQ(entries[1],
            "    2026-01-31 03:00:05123\n    [\u203C\uFE0F][File.swift]:65 20 "
            "initWith(environment:enableLog:) -> 42");
}

TEST_F(LogEntry, ShowsTwelveAtMidnightAndMillisecondsBehindTheSeconds) {
  const auto log = logAt("UTC", 1'769'817'600, 7);  // 2026-01-31 00:00:00 UTC
  ZVLog::d("x", ZVLogPosition("name", 1, 2, "f()"));
  ZVLog::v("", ZVLogPosition("ends/", 1, 2, "f()"));
  EXPECT_EQ(log->entries().at(0),
            "    2026-01-31 12:00:00007\n    [\U0001F4AC][name]:1 2 f() -> x");
  EXPECT_EQ(log->entries().at(1), "2026-01-31 12:00:00007\n[\U0001F52C][]:1 2 f() -> ");
}

TEST_F(LogEntry, KnowsTheCallersOwnPosition) {
  const auto log = RecordedLog::install();
  ZVLog::w(1.5);
  const int line = __LINE__ - 1;
  const std::string entry = log->entries().at(0);
  EXPECT_NE(entry.find("[\u26A0\uFE0F][log_test.cpp]:" + std::to_string(line)), std::string::npos)
      << entry;
  EXPECT_NE(entry.find("TestBody"), std::string::npos) << entry;
  EXPECT_TRUE(entry.ends_with(" -> 1.5")) << entry;
}

TEST(LogSwitch, SilencesEveryLevel) {
  const auto log = RecordedLog::install();
  ZaveloSDK::shared().initWith(ZVEnvironment::demo(), false);
  ZVLog::e(1), ZVLog::i(1), ZVLog::d(1), ZVLog::v(1), ZVLog::w(1), ZVLog::s(1);
  EXPECT_TRUE(log->entries().empty());
  ZaveloSDK::shared().initWith(ZVEnvironment::demo(), true);
  ZVLog::s("\U0001F525");
  EXPECT_NE(log->text().find("[\U0001F525][log_test.cpp]"), std::string::npos);
}

TEST(LogEvent, ComesFromItsTagAndNothingElse) {
  EXPECT_EQ(logEventFromRawValue("[\u203C\uFE0F]"), ZVLogEvent::e);
  EXPECT_EQ(logEventFromRawValue("[\u203C]"), std::nullopt);
  EXPECT_EQ(rawValue(ZVLogEvent::s), "[\U0001F525]");
}

}  // namespace
}  // namespace zavelo

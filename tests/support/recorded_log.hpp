#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zavelo/platform/log_sink.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/testing/manual_clock.hpp"

namespace zavelo::testing {

/// Keeps the log's entries for a test to look at, and stops the log's clock. Installs itself as the
/// platform's sink: one a process, before anything is logged.
class RecordedLog final : public LogSink {
 public:
  static std::shared_ptr<RecordedLog> install(std::chrono::system_clock::time_point now = {}) {
    auto log = std::make_shared<RecordedLog>();
    ZVPlatform platform;
    platform.logSink = log;
    platform.clock = std::make_shared<ManualClock>(now);
    return ZVPlatform::install(std::move(platform)) ? log : nullptr;
  }

  void write(std::string_view entry) override {
    const std::lock_guard lock(mutex_);
    entries_.emplace_back(entry);
  }
  [[nodiscard]] std::vector<std::string> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  /// All entries as one text.
  [[nodiscard]] std::string text() const {
    std::string all;
    for (const std::string& entry : entries()) all += entry + "\n";
    return all;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

}  // namespace zavelo::testing

#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zavelo/platform/log_sink.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/testing/fresh_library.hpp"
#include "zavelo/testing/manual_clock.hpp"

namespace zavelo::testing {

/// Keeps the log's entries for a test to look at, and stops the log's clock.
class RecordedLog final : public LogSink {
 public:
  /// In a library of its own (see FreshLibrary), for as long as the result is held.
  [[nodiscard]] static std::shared_ptr<RecordedLog> install(
      std::chrono::system_clock::time_point now = {}) {
    struct Installed {
      std::shared_ptr<RecordedLog> log;
      FreshLibrary library;
    };
    auto log = std::make_shared<RecordedLog>();
    ZVPlatform platform;
    platform.logSink = log;
    platform.clock = std::make_shared<ManualClock>(now);
    auto* const entries = log.get();
    auto installed = std::shared_ptr<Installed>(
        new Installed{std::move(log), FreshLibrary(std::move(platform))});
    return {std::move(installed), entries};
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

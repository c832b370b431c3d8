#include "zavelo/core/configuration.hpp"

#include <atomic>
#include <mutex>
#include <utility>

#include "zavelo/base/process_wide.hpp"

namespace zavelo {

struct detail::ConfigurationState {
  std::atomic<bool> enableLog{true};
  std::mutex mutex;  // guards what follows
  bool initialised = false;
  ZVEnvironment environment = ZVEnvironment::demo();
  std::string agoraAppId;
};

namespace {
constinit ProcessWide<detail::ConfigurationState> stored;
}  // namespace

detail::ConfigurationState* detail::exchangeConfiguration(ConfigurationState* next) {
  return stored.exchange(next);
}

void detail::destroy(ConfigurationState* state) {
  delete state;
}

namespace configuration {

bool enableLog() noexcept {
  return stored->enableLog.load(std::memory_order_relaxed);
}

ZVEnvironment environment() {
  const std::lock_guard lock(stored->mutex);
  return stored->environment;
}

std::string agoraAppId() {
  const std::lock_guard lock(stored->mutex);
  return stored->agoraAppId;
}

void setEnableLog(bool enableLog) noexcept {
  stored->enableLog.store(enableLog, std::memory_order_relaxed);
}

bool initialise(ZVEnvironment environment, std::string agoraAppId) {
  const std::lock_guard lock(stored->mutex);
  if (stored->initialised) return false;
  stored->agoraAppId = std::move(agoraAppId);
  stored->environment = std::move(environment);
  stored->initialised = true;
  return true;
}

}  // namespace configuration

}  // namespace zavelo

#include "zavelo/core/sdk.hpp"

#include <utility>

#include "zavelo/core/configuration.hpp"
#include "zavelo/core/log.hpp"

namespace zavelo {

ZaveloSDK& ZaveloSDK::shared() {
  static ZaveloSDK instance;
  return instance;
}

// The switch is stored first and whatever follows: a repeated call turns the log on or off.
void ZaveloSDK::initWith(ZVEnvironment environment, bool enableLog, std::string agoraAppId) {
  configuration::setEnableLog(enableLog);
  const bool first = configuration::initialise(std::move(environment), std::move(agoraAppId));
  ZVLog::i(first ? "ZaveloCore is initialized" : "ZaveloCore has already been initialized",
           ZVLogPosition("initWith(environment:enableLog:)"));
}

std::string ZaveloSDK::agoraAppId() const {
  return configuration::agoraAppId();
}
ZVEnvironment ZaveloSDK::environment() const {
  return configuration::environment();
}
bool ZaveloSDK::enableLog() const noexcept {
  return configuration::enableLog();
}

}  // namespace zavelo

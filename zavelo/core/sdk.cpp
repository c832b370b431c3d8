#include "zavelo/core/sdk.hpp"

#include <utility>

#include "zavelo/api/api_service.hpp"
#include "zavelo/core/configuration.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/user_service.hpp"

// The one place where the shared services are put together.

namespace zavelo {
namespace {

struct SharedServices {
  std::shared_ptr<ZVAPIService> api =
      ZVAPIService::create({platform::httpSession(), platform::mainQueue(),
                            platform::notifications(), platform::clock()});
  std::shared_ptr<ZVUserService> user =
      ZVUserService::create({api, platform::store(), platform::jpegEncoder()});
};

// Never destroyed: an app may use them until its last moment.
const SharedServices& sharedServices() {
  static const SharedServices& services = *new SharedServices;
  return services;
}

}  // namespace

const std::shared_ptr<ZVAPIService>& ZVAPIService::sharedInstance() {
  return sharedServices().api;
}
const std::shared_ptr<ZVUserService>& ZVUserService::shared() {
  return sharedServices().user;
}

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

const std::shared_ptr<ZVUserService>& ZaveloSDK::userService() const {
  return ZVUserService::shared();
}

}  // namespace zavelo

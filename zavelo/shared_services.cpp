#include "zavelo/api/api_service.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/user_service.hpp"

// The composition root: the one place that knows all parts, and where the shared services are put
// together.

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

const std::shared_ptr<ZVUserService>& ZaveloSDK::userService() const {
  return ZVUserService::shared();
}

}  // namespace zavelo

#include "zavelo/api/api_service.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/messaging_engine.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/product_service.hpp"
#include "zavelo/services/setting_service.hpp"
#include "zavelo/services/stream_service.hpp"
#include "zavelo/services/user_service.hpp"

// The composition root: the one place that knows all parts, and where the shared services are put
// together.

namespace zavelo {
namespace {

/// Tells messaging who is signed in.
class SignedInUser final : public ZVCurrentUserSource {
 public:
  explicit SignedInUser(std::shared_ptr<ZVUserService> service) : service_(std::move(service)) {}
  [[nodiscard]] std::shared_ptr<const ZVUser> currentUser() const override {
    return service_->currentUser();
  }

 private:
  const std::shared_ptr<ZVUserService> service_;
};

/// Chooses the engine as late as possible.
std::shared_ptr<AgoraRtmKit> makeKit(const std::string& appId,
                                     std::weak_ptr<AgoraRtmDelegate> delegate) {
  return messagingEngine()(appId, std::move(delegate));
}

struct SharedServices {
  std::shared_ptr<ZVAPIService> api =
      ZVAPIService::create({platform::httpSession(), platform::mainQueue(),
                            platform::notifications(), platform::clock()});
  std::shared_ptr<ZVUserService> user =
      ZVUserService::create({api, platform::store(), platform::jpegEncoder()});
  SignedInUser signedInUser{user};
  std::shared_ptr<ZVSettingService> setting =
      std::make_shared<ZVSettingService>(ZVSettingService::Collaborators{api, user});
  std::shared_ptr<ZVStreamService> stream =
      std::make_shared<ZVStreamService>(ZVStreamService::Collaborators{api, platform::clock()});
  std::shared_ptr<ZVProductService> product = std::make_shared<ZVProductService>(api);
  std::shared_ptr<ZVRTMService> rtm =
      ZVRTMService::create({&makeKit, &signedInUser, platform::mainQueue(),
                            platform::notifications(), platform::clock()});
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
const ZVCurrentUserSource& ZVCurrentUserSource::shared() {
  return sharedServices().signedInUser;
}
const std::shared_ptr<ZVSettingService>& ZVSettingService::shared() {
  return sharedServices().setting;
}
const std::shared_ptr<ZVStreamService>& ZVStreamService::shared() {
  return sharedServices().stream;
}
const std::shared_ptr<ZVProductService>& ZVProductService::shared() {
  return sharedServices().product;
}

const std::shared_ptr<ZVRTMService>& ZVRTMService::shared() {
  return sharedServices().rtm;
}

const std::shared_ptr<ZVUserService>& ZaveloSDK::userService() const {
  return ZVUserService::shared();
}
const std::shared_ptr<ZVSettingService>& ZaveloSDK::settingService() const {
  return ZVSettingService::shared();
}
const std::shared_ptr<ZVStreamService>& ZaveloSDK::streamService() const {
  return ZVStreamService::shared();
}
const std::shared_ptr<ZVProductService>& ZaveloSDK::productService() const {
  return ZVProductService::shared();
}
const std::shared_ptr<ZVRTMService>& ZaveloSDK::rtmService() const {
  return ZVRTMService::shared();
}

}  // namespace zavelo

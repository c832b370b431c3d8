#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "zavelo/api/api_service.hpp"
#include "zavelo/api/session_source.hpp"
#include "zavelo/base/process_wide.hpp"
#include "zavelo/core/configuration.hpp"
#include "zavelo/core/process_state.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/messaging_engine.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/platform/deferred_calls.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/gift_service.hpp"
#include "zavelo/services/product_service.hpp"
#include "zavelo/services/setting_service.hpp"
#include "zavelo/services/stream_service.hpp"
#include "zavelo/services/user_service.hpp"

// The composition root: the one place that knows all parts, and where the shared services are put
// together.

namespace zavelo {
namespace {

/// A shared object that is made at its first use.
template <class T>
class Shared {
 public:
  template <class Make>
  const std::shared_ptr<T>& get(const Make& make) {
    if (isMade_.load(std::memory_order_acquire)) return object_;
    // Outlives the lock: what the app's log and handlers are told while the object is made may lead
    // them here.
    const DeferredCalls afterwards;
    const std::lock_guard lock(mutex_);
    if (!object_) object_ = make();
    isMade_.store(true, std::memory_order_release);
    return object_;
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<T> object_;
  std::atomic<bool> isMade_ = false;
};

/// The session of the shared API service until the user service takes over: an app that only
/// watches streams has no store opened before the first request.
class SessionAtFirstUse final : public ZVSessionSource {
 public:
  [[nodiscard]] std::optional<std::string> accessToken() const override {
    return ZVUserService::shared()->accessToken();
  }
  [[nodiscard]] std::optional<std::string> refreshToken() const override {
    return ZVUserService::shared()->refreshToken();
  }
  void refreshTokenWith(const ZVRefreshToken& token) override {
    ZVUserService::shared()->refreshTokenWith(token);
  }
  void endSession() override { ZVUserService::shared()->endSession(); }
  [[nodiscard]] ZVSession session() const override { return ZVUserService::shared()->session(); }
  bool refreshTokenIf(ZVSessionId id, const ZVRefreshToken& token) override {
    return ZVUserService::shared()->refreshTokenIf(id, token);
  }
  bool endSessionIf(ZVSessionId id) override { return ZVUserService::shared()->endSessionIf(id); }
};

/// Tells messaging who is signed in.
class SignedInUser final : public ZVCurrentUserSource {
 public:
  [[nodiscard]] std::shared_ptr<const ZVUser> currentUser() const override {
    return ZVUserService::shared()->currentUser();
  }
};

/// Chooses the engine as late as possible.
std::shared_ptr<AgoraRtmKit> makeKit(const std::string& appId,
                                     std::weak_ptr<AgoraRtmDelegate> delegate) {
  return messagingEngine()(appId, std::move(delegate));
}

}  // namespace

struct detail::ServicesState {
  const std::shared_ptr<SessionAtFirstUse> session = std::make_shared<SessionAtFirstUse>();
  const SignedInUser signedInUser{};
  Shared<ZVAPIService> api;
  Shared<ZVUserService> user;
  Shared<ZVSettingService> setting;
  Shared<ZVStreamService> stream;
  Shared<ZVProductService> product;
  Shared<ZVGiftService> gift;
  Shared<ZVRTMService> rtm;
};

namespace {
constinit ProcessWide<detail::ServicesState> services;
}  // namespace

detail::ProcessState detail::exchangeProcessState(ProcessState next) {
  return {exchangePlatform(next.platform), exchangeConfiguration(next.configuration),
          exchangeEngine(next.engine), services.exchange(next.services)};
}

void detail::destroy(ProcessState state) {
  delete state.services;
  destroy(state.engine);
  destroy(state.platform);
  destroy(state.configuration);
}

const std::shared_ptr<ZVAPIService>& ZVAPIService::sharedInstance() {
  return services->api.get([] {
    auto service = ZVAPIService::create({platform::httpSession(), platform::mainQueue(),
                                         platform::notifications(), platform::clock()});
    service->setSessionSource(services->session);
    return service;
  });
}
const std::shared_ptr<ZVUserService>& ZVUserService::shared() {
  return services->user.get([] {
    return ZVUserService::create(
        {ZVAPIService::sharedInstance(), platform::store(), platform::jpegEncoder()});
  });
}
const ZVCurrentUserSource& ZVCurrentUserSource::shared() {
  return services->signedInUser;
}
const std::shared_ptr<ZVSettingService>& ZVSettingService::shared() {
  return services->setting.get([] {
    return ZVSettingService::create({ZVAPIService::sharedInstance(), ZVUserService::shared()});
  });
}
const std::shared_ptr<ZVStreamService>& ZVStreamService::shared() {
  return services->stream.get([] {
    return ZVStreamService::create({ZVAPIService::sharedInstance(), platform::clock()});
  });
}
const std::shared_ptr<ZVProductService>& ZVProductService::shared() {
  return services->product.get(
      [] { return ZVProductService::create({ZVAPIService::sharedInstance()}); });
}
const std::shared_ptr<ZVGiftService>& ZVGiftService::shared() {
  return services->gift.get([] { return ZVGiftService::create({ZVAPIService::sharedInstance()}); });
}
const std::shared_ptr<ZVRTMService>& ZVRTMService::shared() {
  return services->rtm.get([] {
    return ZVRTMService::create({&makeKit, &services->signedInUser, platform::mainQueue(),
                                 platform::notifications(), platform::clock()});
  });
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
const std::shared_ptr<ZVGiftService>& ZaveloSDK::giftService() const {
  return ZVGiftService::shared();
}
const std::shared_ptr<ZVRTMService>& ZaveloSDK::rtmService() const {
  return ZVRTMService::shared();
}

}  // namespace zavelo

#pragma once

#include <memory>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/core/environment.hpp"

namespace zavelo {

class ZVGiftService;
class ZVProductService;
class ZVRTMService;
class ZVSettingService;
class ZVStreamService;
class ZVUserService;

/// The entry of the library: its configuration, and the services. Services come into being at their
/// first use and live as long as the process; they may be used before `initWith` and then talk to
/// the development backend.
class ZAVELO_EXPORT ZaveloSDK {
 public:
  [[nodiscard]] static ZaveloSDK& shared();

  /// Chooses the backend, once: a second call changes the logging switch and nothing else.
  /// `agoraAppId` is the application identifier of the messaging library; it is needed before the
  /// first messaging operation. No network traffic happens here.
  void initWith(ZVEnvironment environment, bool enableLog, std::string agoraAppId = {});

  [[nodiscard]] std::string agoraAppId() const;
  [[nodiscard]] ZVEnvironment environment() const;
  [[nodiscard]] bool enableLog() const noexcept;

  [[nodiscard]] const std::shared_ptr<ZVUserService>& userService() const;
  [[nodiscard]] const std::shared_ptr<ZVSettingService>& settingService() const;
  [[nodiscard]] const std::shared_ptr<ZVStreamService>& streamService() const;
  [[nodiscard]] const std::shared_ptr<ZVProductService>& productService() const;
  [[nodiscard]] const std::shared_ptr<ZVGiftService>& giftService() const;
  [[nodiscard]] const std::shared_ptr<ZVRTMService>& rtmService() const;

 private:
  ZaveloSDK() = default;
};

}  // namespace zavelo

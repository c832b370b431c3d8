#include "zavelo/services/setting_service.hpp"

#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {

ZVCall ZVSettingService::getNaughtyWords(ZVCompletion<std::vector<std::string>> completion) {
  return detail::call<std::vector<std::string>>(
      *with_.service, ZVAPI::getNaughtyWords, json::Object{},
      [user = with_.userService, completion = std::move(completion)](auto result) {
        if (result.isOk()) user->saveNaughtyWords(result.data());
        if (completion) completion(std::move(result));
      });
}

ZVCall ZVSettingService::getSettingConfig(ZVAPI endpoint,
                                          ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return detail::call(*with_.service, endpoint, json::Object{}, std::move(completion));
}

ZVCall ZVSettingService::getSettingConfigV1(ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return getSettingConfig(ZVAPI::getSettingsConfigV1, std::move(completion));
}

ZVCall ZVSettingService::getSettingConfigV2(ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return getSettingConfig(ZVAPI::getSettingsConfigV2, std::move(completion));
}

}  // namespace zavelo

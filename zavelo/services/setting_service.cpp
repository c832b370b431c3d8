#include "zavelo/services/setting_service.hpp"

#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {

std::shared_ptr<ZVSettingService> ZVSettingService::create(Collaborators collaborators) {
  return std::shared_ptr<ZVSettingService>(new ZVSettingService(std::move(collaborators)));
}

ZVAPICall<std::vector<std::string>> ZVSettingService::getNaughtyWords(
    ZVCompletion<std::vector<std::string>> completion) {
  return detail::callThen<std::vector<std::string>>(*with_.service, ZVAPI::getNaughtyWords,
                                                    json::Object{}, std::move(completion),
                                                    [user = with_.userService](const auto& result) {
                                                      if (result.isOk())
                                                        user->saveNaughtyWords(result.data());
                                                      return true;
                                                    });
}

ZVAPICall<std::shared_ptr<ZVConfig>> ZVSettingService::getSettingConfig(
    ZVAPI endpoint, ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return detail::call(*with_.service, endpoint, json::Object{}, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVConfig>> ZVSettingService::getSettingConfigV1(
    ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return getSettingConfig(ZVAPI::getSettingsConfigV1, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVConfig>> ZVSettingService::getSettingConfigV2(
    ZVCompletion<std::shared_ptr<ZVConfig>> completion) {
  return getSettingConfig(ZVAPI::getSettingsConfigV2, std::move(completion));
}

}  // namespace zavelo

#include "zavelo/services/user_service.hpp"

#include "zavelo/api/api_request.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {
namespace {

constexpr std::int64_t phone = 1;  // what the backend calls the device's type
constexpr double profileQuality = 0.5;

}  // namespace

std::shared_ptr<ZVUserService> ZVUserService::create(Collaborators collaborators) {
  std::shared_ptr<ZVUserService> service(new ZVUserService(std::move(collaborators)));
  service->with_.service->setSessionSource(service);
  return service;
}

ZVUserService::ZVUserService(Collaborators collaborators) : with_(std::move(collaborators)) {
  restore();
}

ZVCall ZVUserService::searchForUser(const std::string& displayName, std::int64_t nextId,
                                    std::int64_t limit,
                                    ZVCompletion<std::shared_ptr<ZVSearchUser>> completion) {
  return detail::call(
      *with_.service, ZVAPI::searchUser,
      json::Object{{"displayName", displayName}, {"nextId", nextId}, {"limit", limit}},
      std::move(completion));
}

ZVCall ZVUserService::getUserStreams(const std::string& userName, std::int64_t nextId,
                                     std::int64_t limit,
                                     ZVCompletion<std::shared_ptr<const ZVUserStream>> completion) {
  return detail::call(*with_.service, ZVAPI::getUserStream,
                      json::Object{{"userName", userName}, {"nextId", nextId}, {"limit", limit}},
                      std::move(completion));
}

ZVCall ZVUserService::login(const std::string& zaveloId, const std::string& password,
                            const std::string& deviceUdid, double latitude, double longitude,
                            ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  const ZVLoginRequest request{zaveloId, password, deviceUdid, phone, latitude, longitude};
  return signIn(ZVAPI::login, toParameters(request), std::move(completion));
}

ZVCall ZVUserService::loginZavelo(const std::string& zaveloId, const std::string& displayName,
                                  const std::string& deviceUdid, double latitude, double longitude,
                                  ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  const ZVLoginZaveloRequest request{zaveloId, displayName, latitude, longitude, deviceUdid, phone};
  return signIn(ZVAPI::loginZaveloUser, toParameters(request), std::move(completion));
}

ZVCall ZVUserService::loginGuest(const std::string& deviceUdid,
                                 ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return signIn(ZVAPI::loginGuestUser, {{"deviceUdid", deviceUdid}, {"deviceType", phone}},
                std::move(completion));
}

ZVCall ZVUserService::signIn(ZVAPI endpoint, json::Object parameters,
                             ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return detail::call<std::shared_ptr<ZVUser>>(
      *with_.service, endpoint, std::move(parameters),
      [weak = weak_from_this(), completion = std::move(completion)](auto result) {
        const auto self = weak.lock();
        if (!self) return;
        if (result.isOk()) self->setUser(result.data());
        if (completion) completion(std::move(result));
      });
}

ZVCall ZVUserService::refreshToken(const std::string& refreshToken,
                                   ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion) {
  return with_.service->refreshToken(
      refreshToken, [weak = weak_from_this(), completion = std::move(completion)](auto result) {
        ZVLog::d(result.isOk() ? "Refresh token: renewed"
                               : "Refresh token: " + result.error().description,
                 ZVLogPosition("refreshToken(refreshToken:completion:)"));
        const auto self = weak.lock();
        if (self && result.isOk()) self->refreshTokenWith(*result.data());
        if (completion) completion(std::move(result));
      });
}

ZVCall ZVUserService::logoutZavelo(ZVCompletion<bool> completion) {
  return detail::call<bool>(
      *with_.service, ZVAPI::logoutUser, std::nullopt,
      [weak = weak_from_this(), completion = std::move(completion)](auto result) {
        const auto self = weak.lock();
        if (!self) return;
        self->endSession();
        if (completion) completion(std::move(result));
      });
}

ZVCall ZVUserService::editProfile(const std::string& displayName, const std::string& dob,
                                  const std::string& gender, const std::string& about,
                                  const std::optional<ZVImage>& image,
                                  ZVCompletion<std::shared_ptr<const ZVEditUser>> completion) {
  auto parameters = toParameters(ZVEditProfileRequest{displayName, dob, gender, about});
  if (!image)
    return detail::call(*with_.service, ZVAPI::editUserProfile, std::move(parameters),
                        std::move(completion));
  std::vector<ZVMultiPartData> files;
  if (auto jpeg = with_.jpegEncoder->encode(*image, profileQuality))
    files.push_back({std::move(*jpeg), "profile", "image/jpeg", "profile.jpeg"});
  return detail::upload(*with_.service, ZVAPI::editUserProfile, std::move(parameters),
                        std::move(files), std::move(completion));
}

ZVCall ZVUserService::updatePromoCode(const std::string& promoCode,
                                      const std::string& promoCodeDescription,
                                      ZVCompletion<bool> completion) {
  return detail::call(
      *with_.service, ZVAPI::updatePromoCode,
      json::Object{{"promoCode", promoCode}, {"promoCodeDescription", promoCodeDescription}},
      std::move(completion));
}

}  // namespace zavelo

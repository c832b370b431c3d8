#include "zavelo/api/api.hpp"

#include <array>
#include <string_view>

#include "zavelo/core/configuration.hpp"

namespace zavelo {
namespace {

struct Endpoint {
  ZVAPI::Case name;
  std::string_view path;
};

// Two paths lie outside the group that their names suggest: the backend has them there.
constexpr std::array<Endpoint, ZVAPI::count> endpoints{{
    {ZVAPI::getNaughtyWords, "/api/settings/naughty-words"},
    {ZVAPI::getSettingsConfigV1, "/api/settings/configs"},
    {ZVAPI::getSettingsConfigV2, "/api/settings/v2/configs"},
    {ZVAPI::createStream, "/api/streams/create"},
    {ZVAPI::getStreamDetail, "/api/streams/detail"},
    {ZVAPI::getResumeStreamDetail, "/api/streams/resume-detail"},
    {ZVAPI::getStreamDetailWithPassword, "/api/streams/detail/pwd"},
    {ZVAPI::updateStreamViewCount, "/api/streams/update-viewcount"},
    {ZVAPI::beginStream, "/api/streams/begin"},
    {ZVAPI::endStream, "/api/streams/end"},
    {ZVAPI::getStreamStatistic, "/api/streams/statistic"},
    {ZVAPI::likeStream, "/api/streams/like"},
    {ZVAPI::getStreamTags, "/api/streams/tags"},
    {ZVAPI::reportStream, "/api/streams/report"},
    {ZVAPI::unreportStream, "/api/streams/unreport"},
    {ZVAPI::deleteStream, "/api/streams/delete"},
    {ZVAPI::saveStreamHistoryChat, "/api/streams/save-history-chat"},
    {ZVAPI::saveStreamCover, "/api/streams/save-cover"},
    {ZVAPI::recordStream, "/api/streams/recording"},
    {ZVAPI::leaveStream, "/api/streams/leave-stream"},
    {ZVAPI::getStreamFloatingTextPosition, "/api/streams/position"},
    {ZVAPI::updateStreamFloatingTextPosition, "/api/streams/update-position"},
    {ZVAPI::resumeStream, "/api/streams/resume"},
    {ZVAPI::getStreamProductList, "/api/streams/products"},
    {ZVAPI::addStreamCoHost, "/api/streams/add-co-host"},
    {ZVAPI::removeStreamCoHost, "/api/streams/remove-co-host"},
    {ZVAPI::getCoHostCredits, "/api/streams/co-hosts-credits"},
    {ZVAPI::getAudienceList, "/api/streams/viewer-list"},
    {ZVAPI::updatePinned, "/api/streams/update-pinned"},
    {ZVAPI::pinned, "/api/streams/pinned"},
    {ZVAPI::updatePromoCode, "/api/users/update-promo-code"},
    {ZVAPI::searchUser, "/api/users/search"},
    {ZVAPI::registerZaveloUser, "/api/users/zavelo-register"},
    {ZVAPI::logoutUser, "/api/users/logout"},
    {ZVAPI::login, "/api/users/login"},
    {ZVAPI::loginZaveloUser, "/api/users/zavelo-login"},
    {ZVAPI::loginGuestUser, "/api/users/guest-login"},
    {ZVAPI::getUserStream, "/api/users/streams"},
    {ZVAPI::editUserProfile, "/api/users/edit-profile"},
    {ZVAPI::refreshUserToken, "/api/users/refresh"},
    {ZVAPI::getGiftStore, "/api/gifts/store"},
    {ZVAPI::sendGift, "/api/gifts/send-gift"},
    {ZVAPI::shareClickTracking, "/api/streams/share-click-tracking"},
    {ZVAPI::getProducts, "/api/users/products"},
    {ZVAPI::editProductOrder, "/api/products/edit-order"},
    {ZVAPI::deleteProduct, "/api/products/delete"},
    {ZVAPI::deleteAllProduct, "/api/products/delete-all"},
    {ZVAPI::addProduct, "/api/products/add"},
    {ZVAPI::editProduct, "/api/products/edit"},
}};

constexpr bool inDeclaredOrder() {
  for (std::size_t i = 0; i < endpoints.size(); ++i)
    if (endpoints[i].name != i) return false;
  return true;
}
static_assert(inDeclaredOrder(), "a path is looked up by its case");

}  // namespace

std::string ZVAPIDataSource::baseUrl() const {
  return configuration::environment().baseUrl();
}

std::string ZVAPIDataSource::url() const {
  return baseUrl() + path();
}

ZVHTTPMethod ZVAPIDataSource::method() const {
  return ZVHTTPMethod::post;
}

std::string ZVAPI::path() const {
  return std::string(endpoints[case_].path);
}

}  // namespace zavelo

#pragma once

#include <string>
#include <tuple>
#include <utility>

#include "zavelo/base/entity_name.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo::bench {

/// A page of a user search as a backend sends it: every field of every profile, in order.
[[nodiscard]] ZVSearchUser profilePage(std::size_t profiles);
[[nodiscard]] std::string profilePageText(std::size_t profiles);

/// Each contender reads the text into the library's own structs, and writes them.
struct Contender {
  const char* name;
  ZVSearchUser (*decode)(const std::string& text);
  std::string (*encode)(const ZVSearchUser& page);
};
extern const Contender nlohmannContender;
extern const Contender rapidjsonContender;
extern const Contender boostContender;
extern const Contender simdjsonContender;  // reads only
/// Parsing alone, nothing read out of it.
[[nodiscard]] std::size_t simdjsonDomParse(const std::string& text);

template <auto... Members>
struct MemberList {
  /// Calls each(name, member) for every profile field: what a person would write out fifty times.
  template <class Record, class Each>
  static void forEach(Record& record, const Each& each) {
    (each(zavelo::detail::entityName<Members>(), record.*Members), ...);
  }
};
using ProfileFields = MemberList<
    &ZVUserInfo::latitude, &ZVUserInfo::longitude, &ZVUserInfo::loginLogoutStatus,
    &ZVUserInfo::distance, &ZVUserInfo::userId, &ZVUserInfo::roleId, &ZVUserInfo::userName,
    &ZVUserInfo::displayName, &ZVUserInfo::userImage, &ZVUserInfo::gender, &ZVUserInfo::doB,
    &ZVUserInfo::notification, &ZVUserInfo::liveNotification, &ZVUserInfo::searchable,
    &ZVUserInfo::notificationSound, &ZVUserInfo::language, &ZVUserInfo::color,
    &ZVUserInfo::giftReceivedCount, &ZVUserInfo::giftSentCount, &ZVUserInfo::totalBean,
    &ZVUserInfo::totalGold, &ZVUserInfo::totalGoldFans, &ZVUserInfo::status, &ZVUserInfo::created,
    &ZVUserInfo::followerCount, &ZVUserInfo::followingCount, &ZVUserInfo::isFollow,
    &ZVUserInfo::unreadNotificationCount, &ZVUserInfo::about, &ZVUserInfo::address,
    &ZVUserInfo::countryCode, &ZVUserInfo::isSeller, &ZVUserInfo::type, &ZVUserInfo::businessType,
    &ZVUserInfo::skipHostTutorial, &ZVUserInfo::skipViewerTutorial, &ZVUserInfo::skipHomeTutorial,
    &ZVUserInfo::giftReceivable, &ZVUserInfo::isBlock, &ZVUserInfo::webProfileUrl,
    &ZVUserInfo::refId, &ZVUserInfo::referralId, &ZVUserInfo::hideMessageDetails,
    &ZVUserInfo::voiceCall, &ZVUserInfo::videoCall, &ZVUserInfo::messaging,
    &ZVUserInfo::unreadMessageCount, &ZVUserInfo::signInType, &ZVUserInfo::nationality,
    &ZVUserInfo::nearbyFeature>;

}  // namespace zavelo::bench

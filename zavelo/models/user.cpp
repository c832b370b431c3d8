#include "zavelo/models/user.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo::json {

const Record& RecordOf<ZVUserInfo>::get() {
  using T = ZVUserInfo;
  static const Record record =
      fieldsOf<T, &T::latitude, &T::longitude, &T::loginLogoutStatus, &T::distance, &T::userId,
               &T::roleId, &T::userName, &T::displayName, &T::userImage, &T::gender, &T::doB,
               &T::notification, &T::liveNotification, &T::searchable, &T::notificationSound,
               &T::language, &T::color, &T::giftReceivedCount, &T::giftSentCount, &T::totalBean,
               &T::totalGold, &T::totalGoldFans, &T::status, &T::created, &T::followerCount,
               &T::followingCount, &T::isFollow, &T::unreadNotificationCount, &T::about,
               &T::address, &T::countryCode, &T::isSeller, &T::type, &T::businessType,
               &T::skipHostTutorial, &T::skipViewerTutorial, &T::skipHomeTutorial,
               &T::giftReceivable, &T::isBlock, &T::webProfileUrl, &T::refId, &T::referralId,
               &T::hideMessageDetails, &T::voiceCall, &T::videoCall, &T::messaging,
               &T::unreadMessageCount, &T::signInType, &T::nationality, &T::nearbyFeature>();
  return record;
}

const Record& RecordOf<ZVUser>::get() {
  using T = ZVUser;
  static const Record record =
      fieldsOf<T, &T::userInfo, &T::accessToken, &T::refreshToken, &T::expires, &T::userName,
               &T::guestId, &T::unixTimestamp>();
  return record;
}

const Record& RecordOf<ZVSearchUser>::get() {
  using T = ZVSearchUser;
  static const Record record = fieldsOf<T, &T::result, &T::nextId, &T::isEnd>();
  return record;
}

const Record& RecordOf<ZVEditUser>::get() {
  using T = ZVEditUser;
  static const Record record =
      fieldsOf<T, &T::isNewEmail, &T::isSendVerificationEmail, &T::userInfo>();
  return record;
}

const Record& RecordOf<ZVRefreshToken>::get() {
  using T = ZVRefreshToken;
  static const Record record = fieldsOf<T, &T::accessToken, &T::refreshToken, &T::expires>();
  return record;
}

}  // namespace zavelo::json

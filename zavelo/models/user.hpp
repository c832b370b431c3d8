#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo {

/// A user's profile. Codes and the formats of dates are the backend's and kept opaque.
struct ZVUserInfo {
  std::optional<std::int64_t> latitude = {};  ///< an integer here, unlike where requests send it
  std::optional<std::int64_t> longitude = {};
  std::optional<std::int64_t> loginLogoutStatus = {};
  std::optional<std::int64_t> distance = {};
  std::optional<std::int64_t> userId = {};
  std::optional<std::int64_t> roleId = {};
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::string> userImage = {};  ///< URL of the profile picture
  std::optional<std::string> gender = {};
  std::optional<std::string> doB = {};  ///< date of birth
  std::optional<std::int64_t> notification = {};
  std::optional<std::int64_t> liveNotification = {};
  std::optional<std::int64_t> searchable = {};
  std::optional<std::int64_t> notificationSound = {};
  std::optional<std::int64_t> language = {};
  std::optional<std::string> color = {};
  std::optional<std::int64_t> giftReceivedCount = {};
  std::optional<std::int64_t> giftSentCount = {};
  std::optional<std::int64_t> totalBean = {};
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::int64_t> totalGoldFans = {};
  std::optional<std::int64_t> status = {};
  std::optional<std::string> created = {};
  std::optional<std::int64_t> followerCount = {};
  std::optional<std::int64_t> followingCount = {};
  std::optional<std::int64_t> isFollow = {};  ///< 0 or 1
  std::optional<std::int64_t> unreadNotificationCount = {};
  std::optional<std::string> about = {};
  std::optional<std::string> address = {};
  std::optional<std::string> countryCode = {};
  std::optional<std::int64_t> isSeller = {};  ///< 0 or 1
  std::optional<std::int64_t> type = {};
  std::optional<std::int64_t> businessType = {};
  std::optional<bool> skipHostTutorial = {};
  std::optional<bool> skipViewerTutorial = {};
  std::optional<bool> skipHomeTutorial = {};
  std::optional<bool> giftReceivable = {};
  std::optional<bool> isBlock = {};
  std::optional<std::string> webProfileUrl = {};
  std::optional<std::int64_t> refId = {};
  std::optional<std::int64_t> referralId = {};
  std::optional<std::int64_t> hideMessageDetails = {};
  std::optional<std::int64_t> voiceCall = {};
  std::optional<std::int64_t> videoCall = {};
  std::optional<std::int64_t> messaging = {};
  std::optional<std::int64_t> unreadMessageCount = {};
  std::optional<std::int64_t> signInType = {};
  std::optional<std::string> nationality = {};
  std::optional<std::int64_t> nearbyFeature = {};

  bool operator==(const ZVUserInfo&) const = default;
};

/// The session of whoever is signed in. Without a profile it is a guest's.
struct ZVUser {
  std::shared_ptr<ZVUserInfo> userInfo = {};
  std::optional<std::string> accessToken =
      {};  ///< bearer token (RFC 6750) of authenticated requests
  std::optional<std::string> refreshToken = {};  ///< buys a new access token
  std::optional<std::string> expires = {};       ///< of the access token, the backend's text
  std::optional<std::string> userName = {};
  std::optional<std::int64_t> guestId = {};
  std::optional<double> unixTimestamp = {};
};

/// One page of a user search.
struct ZVSearchUser {
  std::optional<std::vector<std::shared_ptr<ZVUserInfo>>> result = {};
  std::optional<std::int64_t> nextId = {};  ///< asks for the next page
  std::optional<bool> isEnd = {};           ///< no further page
};

/// The answer to a profile edit. Handed out as fixed.
struct ZVEditUser {
  std::optional<bool> isNewEmail = {};
  std::optional<bool> isSendVerificationEmail = {};
  std::shared_ptr<ZVUserInfo> userInfo = {};  ///< the profile after the edit
};

/// The tokens that a renewal brings. Handed out as fixed.
struct ZVRefreshToken {
  std::optional<std::string> accessToken = {};
  std::optional<std::string> refreshToken = {};
  std::optional<std::string> expires = {};
};

template <>
struct json::RecordOf<ZVUserInfo> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVUser> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVSearchUser> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVEditUser> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVRefreshToken> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

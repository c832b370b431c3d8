#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/models/stream_kinds.hpp"

namespace zavelo {

/// Who broadcasts a stream.
struct ZVPublisher {
  std::optional<std::int64_t> isFollow = {};  ///< 0 or 1: whether the current user follows them
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::int64_t> totalGoldFans = {};
  std::optional<bool> isSeller = {};
  std::optional<bool> isHideHeartStream = {};
  std::optional<bool> isHideTextJoinStream = {};
  std::optional<bool> isHideViewerListStream = {};
  std::optional<bool> isCheckTimeSendMessage = {};
  std::optional<std::int64_t> userId = {};
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::string> userImage = {};
  std::optional<std::string> gender = {};
  std::optional<std::string> handle = {};
  std::optional<std::int64_t> deviceType = {};
  std::optional<std::int64_t> followerCount = {};
  std::optional<std::string> userThumbnailImage = {};
  std::optional<bool> isFirstLive = {};
  std::optional<bool> giftReceivable = {};
};

/// A live or recorded stream. Times are the backend's texts; codes are the backend's.
struct ZVStream {
  std::optional<ZVStreamServiceType> streamService = {};
  std::optional<std::int64_t> likeCount = {};
  std::optional<std::int64_t> isLike = {};    ///< 0 or 1: whether the current user liked it
  std::optional<std::int64_t> isReport = {};  ///< 0 or 1: whether the current user reported it
  std::optional<bool> isShowPromo = {};
  std::optional<bool> isMute = {};
  std::optional<std::string> historyChat = {};  ///< where the saved chat is
  std::optional<std::int64_t> viewSessionId = {};
  std::optional<std::string> statusMessage = {};
  std::shared_ptr<ZVPublisher> publisher = {};
  std::optional<std::string> webStreamUrl = {};   ///< page for viewers on the web
  std::optional<std::string> webStreamPlay = {};  ///< web player
  std::optional<std::string> rtmpUrl = {};        ///< where the broadcaster pushes to
  std::optional<std::int64_t> streamId = {};
  std::optional<std::int64_t> userId = {};  ///< the owner
  std::optional<std::string> slug = {};     ///< names the stream in every call
  std::optional<std::string> coverImage = {};
  std::optional<std::string> title = {};  ///< possibly with markup
  std::optional<std::int64_t> duration = {};
  std::optional<std::int64_t> viewCount = {};
  std::optional<std::int64_t> streamType = {};  ///< of `ZVStreamType`
  std::optional<std::int64_t> screenType = {};  ///< of `ZVScreenType`
  std::optional<std::string> countryCode = {};
  std::optional<std::string> streamUrl = {};     ///< playback
  std::optional<std::string> streamFlvUrl = {};  ///< playback, FLV
  std::optional<std::int64_t> status = {};
  std::optional<std::string> tags = {};
  std::optional<bool> isRecorded = {};
  std::optional<bool> isDeleted = {};
  std::optional<bool> isLocked = {};
  std::optional<std::string> created = {};
  std::optional<std::string> beginStream = {};
  std::optional<std::string> endStream = {};
  std::optional<std::string> latitude = {};  ///< a text here, a number where a stream is created
  std::optional<std::string> longitude = {};
  std::optional<std::string> address = {};
  std::optional<std::int64_t> resolution = {};
  std::optional<std::string> orderButtonText = {};
  std::optional<std::string> orderInProgressText = {};
  std::optional<std::int64_t> streamMode = {};  ///< of `ZVStreamMode`
  std::optional<std::string> promoCode = {};
  std::optional<std::string> promoCodeDescription = {};
  std::optional<std::string> cartUrl = {};
  std::optional<bool> isShowLikeCount = {};
  std::optional<bool> isShowViewCount = {};
  std::optional<std::string> titlePlainText = {};  ///< the title without markup
  std::optional<std::int64_t> bitRate = {};
};

/// One page of a user's streams. Handed out as fixed.
struct ZVUserStream {
  std::optional<std::vector<std::shared_ptr<ZVStream>>> result = {};
  std::optional<std::int64_t> nextId = {};  ///< asks for the next page
  std::optional<bool> isEnd = {};           ///< no further page
};

/// A category that a stream can be created under. Handed out as fixed.
struct ZVStreamTag {
  std::optional<std::int64_t> tagId = {};
  std::optional<std::string> tagName = {};
  std::optional<std::string> tagImage = {};
};

template <>
struct json::RecordOf<ZVPublisher> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVStream> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVUserStream> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVStreamTag> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

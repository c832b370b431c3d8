#include "zavelo/models/stream.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo::json {

const Record& RecordOf<ZVPublisher>::get() {
  using T = ZVPublisher;
  static const Record record =
      fieldsOf<T, &T::isFollow, &T::totalGold, &T::totalGoldFans, &T::isSeller,
               &T::isHideHeartStream, &T::isHideTextJoinStream, &T::isHideViewerListStream,
               &T::isCheckTimeSendMessage, &T::userId, &T::userName, &T::displayName, &T::userImage,
               &T::gender, &T::handle, &T::deviceType, &T::followerCount, &T::userThumbnailImage,
               &T::isFirstLive, &T::giftReceivable>();
  return record;
}

const Record& RecordOf<ZVStream>::get() {
  using T = ZVStream;
  static const Record record =
      fieldsOf<T, &T::streamService, &T::likeCount, &T::isLike, &T::isReport, &T::isShowPromo,
               &T::isMute, &T::historyChat, &T::viewSessionId, &T::statusMessage, &T::publisher,
               &T::webStreamUrl, &T::webStreamPlay, &T::rtmpUrl, &T::streamId, &T::userId, &T::slug,
               &T::coverImage, &T::title, &T::duration, &T::viewCount, &T::streamType,
               &T::screenType, &T::countryCode, &T::streamUrl, &T::streamFlvUrl, &T::status,
               &T::tags, &T::isRecorded, &T::isDeleted, &T::isLocked, &T::created, &T::beginStream,
               &T::endStream, &T::latitude, &T::longitude, &T::address, &T::resolution,
               &T::orderButtonText, &T::orderInProgressText, &T::streamMode, &T::promoCode,
               &T::promoCodeDescription, &T::cartUrl, &T::isShowLikeCount, &T::isShowViewCount,
               &T::titlePlainText, &T::bitRate>();
  return record;
}

const Record& RecordOf<ZVUserStream>::get() {
  using T = ZVUserStream;
  static const Record record = fieldsOf<T, &T::result, &T::nextId, &T::isEnd>();
  return record;
}

const Record& RecordOf<ZVStreamTag>::get() {
  using T = ZVStreamTag;
  static const Record record = fieldsOf<T, &T::tagId, &T::tagName, &T::tagImage>();
  return record;
}

}  // namespace zavelo::json

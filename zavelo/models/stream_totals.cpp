#include "zavelo/models/stream_totals.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo::json {

const Record& RecordOf<ZVLikeStream>::get() {
  using T = ZVLikeStream;
  static const Record record = fieldsOf<T, &T::likeCount>();
  return record;
}

const Record& RecordOf<ZVEndStream>::get() {
  using T = ZVEndStream;
  static const Record record =
      fieldsOf<T, &T::viewCount, &T::giftCount, &T::likeCount, &T::totalGold, &T::duration>();
  return record;
}

const Record& RecordOf<ZVStreamStatistic>::get() {
  using T = ZVStreamStatistic;
  static const Record record =
      fieldsOf<T, &T::viewCount, &T::giftCount, &T::likeCount, &T::followerCount, &T::totalGold,
               &T::status, &T::statusMessage, &T::duration, &T::afkStatus, &T::isShowLike,
               &T::isShowView, &T::promoCode, &T::promoCodeDescription, &T::cartUrl, &T::bitRate>();
  return record;
}

const Record& RecordOf<ZVStreamCoHostCredits>::get() {
  using T = ZVStreamCoHostCredits;
  static const Record record = fieldsOf<T, &T::userId, &T::guestId, &T::userName, &T::displayName,
                                        &T::totalGold, &T::totalGoldFans, &T::position>();
  return record;
}

}  // namespace zavelo::json

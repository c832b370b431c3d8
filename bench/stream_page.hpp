#pragma once

#include <string>

#include "bench/member_list.hpp"
#include "zavelo/models/stream.hpp"

namespace zavelo::bench {

/// How a backend sends a record: all of its fields in the declared order; half of them; in an order
/// of its own; each third key followed by one that the record does not know.
enum class PageShape { declared, absent, reordered, unknown };

/// A page of streams, about 2 KB each, with all fields of them and of their publishers.
[[nodiscard]] std::string streamPageText(std::size_t streams,
                                         PageShape shape = PageShape::declared);

/// Each contender reads the text into the library's own structs, and writes them.
struct Contender {
  const char* name;
  ZVUserStream (*decode)(const std::string& text);
  std::string (*encode)(const ZVUserStream& page);
  bool needsDeclaredOrder = false;
};
extern const Contender nlohmannContender;
extern const Contender rapidjsonContender;
extern const Contender boostContender;
extern const Contender simdjsonContender;  // reads only
/// Parsing alone, nothing read out of it.
[[nodiscard]] std::size_t simdjsonDomParse(const std::string& text);

template <>
struct FieldsOf<ZVPublisher>
    : MemberList<&ZVPublisher::isFollow, &ZVPublisher::totalGold, &ZVPublisher::totalGoldFans,
                 &ZVPublisher::isSeller, &ZVPublisher::isHideHeartStream,
                 &ZVPublisher::isHideTextJoinStream, &ZVPublisher::isHideViewerListStream,
                 &ZVPublisher::isCheckTimeSendMessage, &ZVPublisher::userId, &ZVPublisher::userName,
                 &ZVPublisher::displayName, &ZVPublisher::userImage, &ZVPublisher::gender,
                 &ZVPublisher::handle, &ZVPublisher::deviceType, &ZVPublisher::followerCount,
                 &ZVPublisher::userThumbnailImage, &ZVPublisher::isFirstLive,
                 &ZVPublisher::giftReceivable> {};

template <>
struct FieldsOf<ZVStream>
    : MemberList<&ZVStream::streamService, &ZVStream::likeCount, &ZVStream::isLike,
                 &ZVStream::isReport, &ZVStream::isShowPromo, &ZVStream::isMute,
                 &ZVStream::historyChat, &ZVStream::viewSessionId, &ZVStream::statusMessage,
                 &ZVStream::publisher, &ZVStream::webStreamUrl, &ZVStream::webStreamPlay,
                 &ZVStream::rtmpUrl, &ZVStream::streamId, &ZVStream::userId, &ZVStream::slug,
                 &ZVStream::coverImage, &ZVStream::title, &ZVStream::duration, &ZVStream::viewCount,
                 &ZVStream::streamType, &ZVStream::screenType, &ZVStream::countryCode,
                 &ZVStream::streamUrl, &ZVStream::streamFlvUrl, &ZVStream::status, &ZVStream::tags,
                 &ZVStream::isRecorded, &ZVStream::isDeleted, &ZVStream::isLocked,
                 &ZVStream::created, &ZVStream::beginStream, &ZVStream::endStream,
                 &ZVStream::latitude, &ZVStream::longitude, &ZVStream::address,
                 &ZVStream::resolution, &ZVStream::orderButtonText, &ZVStream::orderInProgressText,
                 &ZVStream::streamMode, &ZVStream::promoCode, &ZVStream::promoCodeDescription,
                 &ZVStream::cartUrl, &ZVStream::isShowLikeCount, &ZVStream::isShowViewCount,
                 &ZVStream::titlePlainText, &ZVStream::bitRate> {};

}  // namespace zavelo::bench

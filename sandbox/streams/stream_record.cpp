#include "sandbox/streams/stream_record.hpp"

#include <memory>
#include <utility>

#include "sandbox/media/files.hpp"
#include "sandbox/streams/audience.hpp"
#include "sandbox/streams/plain_text.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/base/number_text.hpp"

namespace zavelo::sandbox {
namespace {

std::optional<std::string> textOf(const std::optional<Time>& time) {
  return time ? std::optional(isoText(*time)) : std::nullopt;
}

std::shared_ptr<ZVPublisher> publisherOf(Transaction& transaction, const Stream& stream,
                                         const Member& owner, const std::string& site) {
  auto publisher = std::make_shared<ZVPublisher>();
  publisher->isFollow = publisher->followerCount = 0;
  publisher->totalGold = publisher->totalGoldFans = owner.goldFromFans;
  publisher->isSeller = owner.isSeller;
  publisher->isHideHeartStream = publisher->isHideTextJoinStream = false;
  publisher->isHideViewerListStream = publisher->isCheckTimeSendMessage = false;
  publisher->userId = owner.id;
  publisher->userName = publisher->handle = owner.userName;
  publisher->displayName = owner.displayName;
  publisher->gender = owner.gender;
  const auto image = profileOf(owner, site).userImage;
  publisher->userImage = publisher->userThumbnailImage = image;
  publisher->isFirstLive = !transaction.find<std::int64_t>(
      "SELECT 1 FROM streams WHERE owner = ? AND id < ? AND begun IS NOT NULL", owner.id,
      stream.id);
  publisher->giftReceivable = true;
  return publisher;
}

/// Addresses in the form that a media back end gives; the sandbox itself moves no video.
void addAddresses(ZVStream& record, const Stream& stream, bool isOwner, bool isOpen,
                  const std::string& site) {
  record.webStreamUrl = site + "/live/" + stream.slug;
  if (isOwner) record.rtmpUrl = "rtmp://127.0.0.1/live/" + stream.slug;
  if (!isOpen) return;
  record.webStreamPlay = site + "/live/" + stream.slug + "/play";
  record.streamUrl = site + "/live/" + stream.slug + ".m3u8";
  record.streamFlvUrl = site + "/live/" + stream.slug + ".flv";
}

void addPlan(ZVStream& record, const StreamPlan& plan) {
  record.title = plan.title;
  record.titlePlainText = plainText(plan.title);
  record.tags = plan.tag;
  record.latitude = numberText(plan.latitude);
  record.longitude = numberText(plan.longitude);
  record.address = plan.address;
  record.resolution = plan.resolution;
  record.countryCode = plan.countryCode;
  record.screenType = plan.screenType;
  record.streamType = plan.streamType;
}

void addState(ZVStream& record, const Stream& stream, const std::string& site, Time now) {
  record.streamId = stream.id;
  record.userId = stream.owner;
  record.slug = stream.slug;
  record.status = static_cast<std::int64_t>(stream.status);
  record.statusMessage = nameOf(stream.status);
  record.duration = secondsLive(stream, now);
  record.viewCount = stream.viewCount;
  record.likeCount = stream.likeCount;
  record.isRecorded = stream.isRecorded;
  record.isLocked = stream.passwordHash.has_value();
  record.created = isoText(stream.created);
  record.beginStream = textOf(stream.begun);
  record.endStream = textOf(stream.ended);
  record.coverImage = fileAddress(site, streamCovers, stream.coverName);
  record.historyChat = fileAddress(site, streamChats, stream.chatName);
}

}  // namespace

bool isOpenTo(Transaction& transaction, const Stream& stream, const Identity& user) {
  return !stream.passwordHash || user.member == stream.owner ||
         reactionOf(transaction, stream.id, user).hasUnlocked;
}

ZVStream recordOf(Transaction& transaction, const Stream& stream, const Identity& user,
                  const std::string& site, Time now) {
  const Member owner = *memberById(transaction, stream.owner);
  const Reaction reaction = reactionOf(transaction, stream.id, user);
  ZVStream record;
  addPlan(record, stream.plan);
  addState(record, stream, site, now);
  addAddresses(record, stream, user.member == stream.owner, isOpenTo(transaction, stream, user),
               site);
  record.streamService = ZVStreamServiceType::wowza;
  record.streamMode = rawValue(ZVStreamMode::simple);
  record.isLike = reaction.hasLiked ? 1 : 0;
  record.isReport = reaction.hasReported ? 1 : 0;
  record.viewSessionId = viewSessionOf(transaction, stream.id, user);
  record.publisher = publisherOf(transaction, stream, owner, site);
  record.isShowPromo = !owner.promoCode.empty();
  record.promoCode = owner.promoCode;
  record.promoCodeDescription = owner.promoDescription;
  record.isMute = record.isDeleted = false;
  record.isShowLikeCount = record.isShowViewCount = true;
  return record;
}

}  // namespace zavelo::sandbox

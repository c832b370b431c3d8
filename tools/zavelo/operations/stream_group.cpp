#include "tools/zavelo/operations/catalogue.hpp"
#include "zavelo/services/stream_service.hpp"

namespace zavelo::command {

Group streamGroup() {
  using S = ZVStreamService;
  return {
      "stream",
      "Live streams: their life, who watches, what is shown",
      {
          operation<&S::createStream>("Make a stream", "title", "tagId", "latitude", "longitude",
                                      "address", "resolution", "countryCode", "screenType",
                                      "streamType", "roomType"),
          operation<&S::beginStream>("Go on air", "slug"),
          operation<&S::resumeStream>("Go on with a stream that was left", "slug"),
          operation<&S::recordStream>("Have the stream recorded", "slug"),
          operation<&S::endStream>("End the stream and show its totals", "slug"),
          operation<&S::deleteStream>("Delete the stream", "slug"),
          operation<&S::saveStreamCoverImage>("Store the cover", "slug", "imageData"),
          operation<&S::saveChatHistory>("Store the chat for a replay", "slug", "chatData"),
          operation<&S::getStreamDetail>("Show the stream", "slug"),
          operation<&S::getStreamDetailWithPWD>("Show a locked stream", "title", "password"),
          operation<&S::getResumeStreamDetail>("Show the stream that may be resumed", "slug"),
          operation<&S::getStreamStatistic>("Show the running totals", "slug"),
          operation<&S::getStreamTags>("List the categories of streams"),
          operation<&S::getStreamProductList>("List the products shown, page by page", "slug",
                                              "nextId", "limit"),
          operation<&S::updateStreamViewCount>("Begin to watch", "slug"),
          operation<&S::leaveStream>("Stop to watch; as the owner, pause the stream",
                                     "streamUserId", "slug"),
          operation<&S::getAudienceList>("List who watches, page by page", "slug", "nextId",
                                         "limit"),
          operation<&S::likeStream>("Like the stream", "slug", "count", "isUnique"),
          operation<&S::reportStream>("Report the stream", "reason", "slug"),
          operation<&S::unreportStream>("Take the report back", "slug"),
          operation<&S::shareClickTracking>("Count a click on a share of the stream", "slug"),
          operation<&S::getStreamFloatingTextPosition>("Show where the floating text stands",
                                                       "slug"),
          operation<&S::updateStreamFloatingTextPosition>("Move the floating text", "data", "slug"),
          operation<&S::getPinnedMessage>("Show the pinned message", "slug"),
          operation<&S::setPinnedMessage>("Pin a message", "slug", "message"),
          operation<&S::addStreamCoHost>("Let a guest broadcast with the owner", "slug", "position",
                                         "guestId", "userId"),
          operation<&S::removeStreamCoHost>("Let a guest go", "slug", "position", "guestId",
                                            "userId"),
          operation<&S::getCoHostCredits>("Show what a guest came to", "slug"),
      }};
}

}  // namespace zavelo::command

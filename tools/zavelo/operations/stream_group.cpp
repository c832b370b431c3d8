#include "tools/zavelo/operations/catalogue.hpp"
#include "zavelo/services/stream_service.hpp"

namespace zavelo::command {

Group streamGroup() {
  using S = ZVStreamService;
  return {
      "stream",
      "Create, start, watch and end live streams",
      {
          operation<positional(&S::createStream)>(
              "Create a stream", "title", "tagId", "latitude", "longitude", "address", "resolution",
              "countryCode", "screenType", "streamType", "roomType"),
          operation<&S::beginStream>("Start the stream", "slug"),
          operation<&S::resumeStream>("Resume a paused stream", "slug"),
          operation<&S::recordStream>("Record the stream", "slug"),
          operation<&S::endStream>("End the stream and show its totals", "slug"),
          operation<&S::deleteStream>("Delete the stream", "slug"),
          operation<&S::saveStreamCoverImage>("Upload the cover picture", "slug", "imageData"),
          operation<&S::saveChatHistory>("Upload the chat for replays", "slug", "chatData"),
          operation<&S::getStreamDetail>("Show the stream", "slug"),
          operation<&S::getStreamDetailWithPWD>("Show a locked stream", "title", "password"),
          operation<&S::getResumeStreamDetail>("Show the stream that may be resumed", "slug"),
          operation<&S::getStreamStatistic>("Show the running totals", "slug"),
          operation<&S::getStreamTags>("List the categories of streams"),
          operation<&S::getStreamProductList>("List the products shown, page by page", "slug",
                                              "nextId", "limit"),
          operation<&S::updateStreamViewCount>("Start watching the stream", "slug"),
          operation<&S::leaveStream>("Stop watching; the owner pauses the stream by it",
                                     "streamUserId", "slug"),
          operation<&S::getAudienceList>("List the viewers, page by page", "slug", "nextId",
                                         "limit"),
          operation<&S::likeStream>("Like the stream", "slug", "count", "isUnique"),
          operation<&S::reportStream>("Report the stream", "reason", "slug"),
          operation<&S::unreportStream>("Withdraw the report of the stream", "slug"),
          operation<&S::shareClickTracking>("Count a click on a share of the stream", "slug"),
          operation<&S::getStreamFloatingTextPosition>("Show the position of the floating text",
                                                       "slug"),
          operation<&S::updateStreamFloatingTextPosition>("Move the floating text", "data", "slug"),
          operation<&S::getPinnedMessage>("Show the pinned message", "slug"),
          operation<&S::setPinnedMessage>("Pin a message", "slug", "message"),
          operation<positional(&S::addStreamCoHost)>("Add a co-host to the stream", "slug",
                                                     "position", "guestId", "userId"),
          operation<positional(&S::removeStreamCoHost)>("Remove a co-host from the stream", "slug",
                                                        "position", "guestId", "userId"),
          operation<&S::getCoHostCredits>("Show what a co-host has earned", "slug"),
      }};
}

}  // namespace zavelo::command

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/api/api_request.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/stream_product.hpp"
#include "zavelo/models/stream_totals.hpp"
#include "zavelo/models/user.hpp"
#include "zavelo/platform/clock.hpp"

namespace zavelo {

/// The backend's operations about streams. A stream is named by its `slug` wherever nothing else is
/// said. Nothing is checked or remembered here: a call sends what it is given, and the order of a
/// broadcast's calls is the app's to keep.
///
/// Any thread. Completions arrive on the main queue, exactly once; a failure is the backend's, the
/// network's, or `invalidData` for an answer that does not decode.
class ZAVELO_EXPORT ZVStreamService {
 public:
  struct Collaborators {
    std::shared_ptr<ZVAPIService> service = {};
    std::shared_ptr<const Clock> clock = {};
  };

  [[nodiscard]] static std::shared_ptr<ZVStreamService> create(Collaborators collaborators);
  [[nodiscard]] static const std::shared_ptr<ZVStreamService>& shared();

  // A broadcast's life.

  /// `tagId` is one of `getStreamTags`; `roomType` is left out when absent.
  ZVAPICall<std::shared_ptr<ZVStream>> createStream(
      const std::string& title, std::int64_t tagId, double latitude, double longitude,
      const std::string& address, std::int64_t resolution, const std::string& countryCode,
      ZVStreamScreenType screenType, ZVStreamType streamType, std::optional<std::int64_t> roomType,
      ZVCompletion<std::shared_ptr<ZVStream>> completion);
  ZVAPICall<bool> beginStream(const std::string& slug, ZVCompletion<bool> completion);
  ZVAPICall<bool> resumeStream(const std::string& slug, ZVCompletion<bool> completion);
  ZVAPICall<bool> recordStream(const std::string& slug, ZVCompletion<bool> completion);
  ZVAPICall<std::shared_ptr<const ZVEndStream>> endStream(
      const std::string& slug, ZVCompletion<std::shared_ptr<const ZVEndStream>> completion);
  ZVAPICall<bool> deleteStream(const std::string& slug, ZVCompletion<bool> completion);
  /// The cover as JPEG; it travels as it is.
  ZVAPICall<bool> saveStreamCoverImage(const std::string& slug, std::vector<std::byte> imageData,
                                       ZVCompletion<bool> completion);
  /// The chat as it shall be replayed; it travels as it is, in a file named for this moment.
  ZVAPICall<bool> saveChatHistory(const std::string& slug, std::vector<std::byte> chatData,
                                  ZVCompletion<bool> completion);

  // What a stream is.

  ZVAPICall<std::shared_ptr<ZVStream>> getStreamDetail(
      const std::string& slug, ZVCompletion<std::shared_ptr<ZVStream>> completion);
  /// Names a locked stream by its title.
  ZVAPICall<std::shared_ptr<ZVStream>> getStreamDetailWithPWD(
      const std::string& title, const std::string& password,
      ZVCompletion<std::shared_ptr<ZVStream>> completion);
  ZVAPICall<std::shared_ptr<ZVStream>> getResumeStreamDetail(
      const std::string& slug, ZVCompletion<std::shared_ptr<ZVStream>> completion);
  ZVAPICall<std::shared_ptr<ZVStreamStatistic>> getStreamStatistic(
      const std::string& slug, ZVCompletion<std::shared_ptr<ZVStreamStatistic>> completion);
  /// The categories that a stream can be created under. The like path answers them to a call
  /// without parameters.
  ZVAPICall<std::vector<std::shared_ptr<const ZVStreamTag>>> getStreamTags(
      ZVCompletion<std::vector<std::shared_ptr<const ZVStreamTag>>> completion);
  ZVAPICall<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> getStreamProductList(
      const std::string& slug, std::int64_t nextId, std::int64_t limit,
      ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion);

  // Who watches.

  ZVAPICall<bool> updateStreamViewCount(const std::string& slug, ZVCompletion<bool> completion);
  /// `streamUserId` is the stream's owner.
  ZVAPICall<bool> leaveStream(std::int64_t streamUserId, const std::string& slug,
                              ZVCompletion<bool> completion);
  ZVAPICall<std::vector<std::shared_ptr<ZVUser>>> getAudienceList(
      const std::string& slug, std::int64_t nextId, std::int64_t limit,
      ZVCompletion<std::vector<std::shared_ptr<ZVUser>>> completion);
  ZVAPICall<ZVLikeStream> likeStream(const std::string& slug, std::int64_t count, bool isUnique,
                                     ZVCompletion<ZVLikeStream> completion);
  ZVAPICall<bool> reportStream(const std::string& reason, const std::string& slug,
                               ZVCompletion<bool> completion);
  ZVAPICall<bool> unreportStream(const std::string& slug, ZVCompletion<bool> completion);
  ZVAPICall<bool> shareClickTracking(const std::string& slug, ZVCompletion<bool> completion);

  // What is shown in it.

  ZVAPICall<std::string> getStreamFloatingTextPosition(const std::string& slug,
                                                       ZVCompletion<std::string> completion);
  ZVAPICall<bool> updateStreamFloatingTextPosition(const std::string& data, const std::string& slug,
                                                   ZVCompletion<bool> completion);
  ZVAPICall<std::string> getPinnedMessage(const std::string& slug,
                                          ZVCompletion<std::string> completion);
  ZVAPICall<bool> setPinnedMessage(const std::string& slug, const std::string& message,
                                   ZVCompletion<bool> completion);

  // Who broadcasts with the owner.

  ZVAPICall<bool> addStreamCoHost(const std::string& slug, std::int64_t position,
                                  std::int64_t guestId, std::int64_t userId,
                                  ZVCompletion<bool> completion);
  ZVAPICall<bool> removeStreamCoHost(const std::string& slug, std::int64_t position,
                                     std::int64_t guestId, std::int64_t userId,
                                     ZVCompletion<bool> completion);
  ZVAPICall<std::shared_ptr<const ZVStreamCoHostCredits>> getCoHostCredits(
      const std::string& slug,
      ZVCompletion<std::shared_ptr<const ZVStreamCoHostCredits>> completion);

  // The same with the arguments as a record.

  ZVAPICall<std::shared_ptr<ZVStream>> createStream(
      const ZVCreateStreamRequest& request, ZVCompletion<std::shared_ptr<ZVStream>> completion);
  ZVAPICall<bool> addStreamCoHost(const ZVAddStreamCoHostRequest& request,
                                  ZVCompletion<bool> completion);
  ZVAPICall<bool> removeStreamCoHost(const ZVAddStreamCoHostRequest& request,
                                     ZVCompletion<bool> completion);

 private:
  explicit ZVStreamService(Collaborators collaborators) : with_(std::move(collaborators)) {}

  const Collaborators with_;
};

}  // namespace zavelo

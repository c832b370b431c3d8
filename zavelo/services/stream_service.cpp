#include "zavelo/services/stream_service.hpp"

#include <chrono>

#include "zavelo/api/api_request.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {

namespace {

// What several operations send alike.

template <class T>
ZVCall callFor(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
               ZVCompletion<T> completion) {
  return detail::call(service, endpoint, json::Object{{"slug", slug}}, std::move(completion));
}

template <class T>
ZVCall callForPage(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                   std::int64_t nextId, std::int64_t limit, ZVCompletion<T> completion) {
  return detail::call(service, endpoint,
                      json::Object{{"slug", slug}, {"nextId", nextId}, {"limit", limit}},
                      std::move(completion));
}

ZVCall updateData(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                  const std::string& data, ZVCompletion<bool> completion) {
  return detail::call(service, endpoint, json::Object{{"slug", slug}, {"data", data}},
                      std::move(completion));
}

ZVCall changeCoHost(ZVAPIService& service, ZVAPI endpoint, const ZVAddStreamCoHostRequest& request,
                    ZVCompletion<bool> completion) {
  return detail::call(service, endpoint, toParameters(request), std::move(completion));
}

ZVCall upload(ZVAPIService& service, ZVAPI endpoint, const std::string& slug, ZVMultiPartData file,
              ZVCompletion<bool> completion) {
  std::vector<ZVMultiPartData> files;
  files.push_back(std::move(file));
  return detail::upload(service, endpoint, {{"slug", slug}}, std::move(files),
                        std::move(completion));
}

}  // namespace

// A broadcast's life.

ZVCall ZVStreamService::createStream(const std::string& title, std::int64_t tagId, double latitude,
                                     double longitude, const std::string& address,
                                     std::int64_t resolution, const std::string& countryCode,
                                     ZVStreamScreenType screenType, ZVStreamType streamType,
                                     std::optional<std::int64_t> roomType,
                                     ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  const ZVCreateStreamRequest request{.streamTitle = title,
                                      .tagId = tagId,
                                      .latitude = latitude,
                                      .longitude = longitude,
                                      .address = address,
                                      .resolution = resolution,
                                      .countryCode = countryCode,
                                      .screenType = rawValue(screenType),
                                      .streamType = rawValue(streamType),
                                      .roomType = roomType};
  return detail::call(*with_.service, ZVAPI::createStream, toParameters(request),
                      std::move(completion));
}

ZVCall ZVStreamService::beginStream(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::beginStream, slug, std::move(completion));
}

ZVCall ZVStreamService::resumeStream(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::resumeStream, slug, std::move(completion));
}

ZVCall ZVStreamService::recordStream(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::recordStream, slug, std::move(completion));
}

ZVCall ZVStreamService::endStream(const std::string& slug,
                                  ZVCompletion<std::shared_ptr<const ZVEndStream>> completion) {
  return callFor(*with_.service, ZVAPI::endStream, slug, std::move(completion));
}

ZVCall ZVStreamService::deleteStream(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::deleteStream, slug, std::move(completion));
}

ZVCall ZVStreamService::saveStreamCoverImage(const std::string& slug,
                                             std::vector<std::byte> imageData,
                                             ZVCompletion<bool> completion) {
  return upload(*with_.service, ZVAPI::saveStreamCover, slug,
                {std::move(imageData), "image", "image/jpeg", "image.jpeg"}, std::move(completion));
}

ZVCall ZVStreamService::saveChatHistory(const std::string& slug, std::vector<std::byte> chatData,
                                        ZVCompletion<bool> completion) {
  // Nanoseconds have more digits than a double.
  const std::chrono::duration<double> since1970 =
      std::chrono::floor<std::chrono::microseconds>(with_.clock->now()).time_since_epoch();
  return upload(
      *with_.service, ZVAPI::saveStreamHistoryChat, slug,
      {std::move(chatData), "historyChatFile", "text/plain", numberText(since1970.count())},
      std::move(completion));
}

// What a stream is.

ZVCall ZVStreamService::getStreamDetail(const std::string& slug,
                                        ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return callFor(*with_.service, ZVAPI::getStreamDetail, slug, std::move(completion));
}

ZVCall ZVStreamService::getStreamDetailWithPWD(const std::string& title,
                                               const std::string& password,
                                               ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return detail::call(*with_.service, ZVAPI::getStreamDetailWithPassword,
                      json::Object{{"title", title}, {"password", password}},
                      std::move(completion));
}

ZVCall ZVStreamService::getResumeStreamDetail(const std::string& slug,
                                              ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return callFor(*with_.service, ZVAPI::getResumeStreamDetail, slug, std::move(completion));
}

ZVCall ZVStreamService::getStreamStatistic(
    const std::string& slug, ZVCompletion<std::shared_ptr<ZVStreamStatistic>> completion) {
  return callFor(*with_.service, ZVAPI::getStreamStatistic, slug, std::move(completion));
}

// Not the tags path, which the catalogue lists as well: backends answer the tags here.
ZVCall ZVStreamService::getStreamTags(
    ZVCompletion<std::vector<std::shared_ptr<const ZVStreamTag>>> completion) {
  return detail::call(*with_.service, ZVAPI::likeStream, std::nullopt, std::move(completion));
}

ZVCall ZVStreamService::getStreamProductList(
    const std::string& slug, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion) {
  return callForPage(*with_.service, ZVAPI::getStreamProductList, slug, nextId, limit,
                     std::move(completion));
}

// Who watches.

ZVCall ZVStreamService::updateStreamViewCount(const std::string& slug,
                                              ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::updateStreamViewCount, slug, std::move(completion));
}

ZVCall ZVStreamService::leaveStream(std::int64_t streamUserId, const std::string& slug,
                                    ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::leaveStream,
                      json::Object{{"streamUserId", streamUserId}, {"slug", slug}},
                      std::move(completion));
}

ZVCall ZVStreamService::getAudienceList(
    const std::string& slug, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::vector<std::shared_ptr<ZVUser>>> completion) {
  return callForPage(*with_.service, ZVAPI::getAudienceList, slug, nextId, limit,
                     std::move(completion));
}

ZVCall ZVStreamService::likeStream(const std::string& slug, std::int64_t count, bool isUnique,
                                   ZVCompletion<ZVLikeStream> completion) {
  return detail::call(*with_.service, ZVAPI::likeStream,
                      json::Object{{"slug", slug}, {"count", count}, {"isUnique", isUnique}},
                      std::move(completion));
}

ZVCall ZVStreamService::reportStream(const std::string& reason, const std::string& slug,
                                     ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::reportStream,
                      json::Object{{"reason", reason}, {"slug", slug}}, std::move(completion));
}

ZVCall ZVStreamService::unreportStream(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::unreportStream, slug, std::move(completion));
}

ZVCall ZVStreamService::shareClickTracking(const std::string& slug, ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::shareClickTracking, slug, std::move(completion));
}

// What is shown in it.

ZVCall ZVStreamService::getStreamFloatingTextPosition(const std::string& slug,
                                                      ZVCompletion<std::string> completion) {
  return callFor(*with_.service, ZVAPI::getStreamFloatingTextPosition, slug, std::move(completion));
}

ZVCall ZVStreamService::updateStreamFloatingTextPosition(const std::string& data,
                                                         const std::string& slug,
                                                         ZVCompletion<bool> completion) {
  return updateData(*with_.service, ZVAPI::updateStreamFloatingTextPosition, slug, data,
                    std::move(completion));
}

ZVCall ZVStreamService::getPinnedMessage(const std::string& slug,
                                         ZVCompletion<std::string> completion) {
  return callFor(*with_.service, ZVAPI::pinned, slug, std::move(completion));
}

ZVCall ZVStreamService::setPinnedMessage(const std::string& slug, const std::string& message,
                                         ZVCompletion<bool> completion) {
  return updateData(*with_.service, ZVAPI::updatePinned, slug, message, std::move(completion));
}

// Who broadcasts with the owner.

ZVCall ZVStreamService::addStreamCoHost(const std::string& slug, std::int64_t position,
                                        std::int64_t guestId, std::int64_t userId,
                                        ZVCompletion<bool> completion) {
  return changeCoHost(*with_.service, ZVAPI::addStreamCoHost, {position, guestId, userId, slug},
                      std::move(completion));
}

ZVCall ZVStreamService::removeStreamCoHost(const std::string& slug, std::int64_t position,
                                           std::int64_t guestId, std::int64_t userId,
                                           ZVCompletion<bool> completion) {
  return changeCoHost(*with_.service, ZVAPI::removeStreamCoHost, {position, guestId, userId, slug},
                      std::move(completion));
}

ZVCall ZVStreamService::getCoHostCredits(
    const std::string& slug,
    ZVCompletion<std::shared_ptr<const ZVStreamCoHostCredits>> completion) {
  return callFor(*with_.service, ZVAPI::getCoHostCredits, slug, std::move(completion));
}

}  // namespace zavelo

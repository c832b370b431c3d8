#include "zavelo/services/stream_service.hpp"

#include <chrono>

#include "zavelo/base/number_text.hpp"
#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {
namespace {

// What several operations send alike.

template <class T>
ZVAPICall<T> callFor(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                     ZVCompletion<T> completion) {
  return detail::call(service, endpoint, json::Object{{"slug", slug}}, std::move(completion));
}

template <class T>
ZVAPICall<T> callForPage(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                         std::int64_t nextId, std::int64_t limit, ZVCompletion<T> completion) {
  return detail::call(service, endpoint,
                      json::Object{{"slug", slug}, {"nextId", nextId}, {"limit", limit}},
                      std::move(completion));
}

ZVAPICall<bool> updateData(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                           const std::string& data, ZVCompletion<bool> completion) {
  return detail::call(service, endpoint, json::Object{{"slug", slug}, {"data", data}},
                      std::move(completion));
}

ZVAPICall<bool> upload(ZVAPIService& service, ZVAPI endpoint, const std::string& slug,
                       ZVMultiPartData file, ZVCompletion<bool> completion) {
  std::vector<ZVMultiPartData> files;
  files.push_back(std::move(file));
  return detail::upload(service, endpoint, {{"slug", slug}}, std::move(files),
                        std::move(completion));
}

}  // namespace

std::shared_ptr<ZVStreamService> ZVStreamService::create(Collaborators collaborators) {
  return std::shared_ptr<ZVStreamService>(new ZVStreamService(std::move(collaborators)));
}

// A broadcast's life.

ZVAPICall<std::shared_ptr<ZVStream>> ZVStreamService::createStream(
    const std::string& title, std::int64_t tagId, double latitude, double longitude,
    const std::string& address, std::int64_t resolution, const std::string& countryCode,
    ZVStreamScreenType screenType, ZVStreamType streamType, std::optional<std::int64_t> roomType,
    ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return createStream({.streamTitle = title,
                       .tagId = tagId,
                       .latitude = latitude,
                       .longitude = longitude,
                       .address = address,
                       .resolution = resolution,
                       .countryCode = countryCode,
                       .screenType = rawValue(screenType),
                       .streamType = rawValue(streamType),
                       .roomType = roomType},
                      std::move(completion));
}

ZVAPICall<bool> ZVStreamService::beginStream(const std::string& slug,
                                             ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::beginStream, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::resumeStream(const std::string& slug,
                                              ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::resumeStream, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::recordStream(const std::string& slug,
                                              ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::recordStream, slug, std::move(completion));
}

ZVAPICall<std::shared_ptr<const ZVEndStream>> ZVStreamService::endStream(
    const std::string& slug, ZVCompletion<std::shared_ptr<const ZVEndStream>> completion) {
  return callFor(*with_.service, ZVAPI::endStream, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::deleteStream(const std::string& slug,
                                              ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::deleteStream, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::saveStreamCoverImage(const std::string& slug,
                                                      std::vector<std::byte> imageData,
                                                      ZVCompletion<bool> completion) {
  return upload(*with_.service, ZVAPI::saveStreamCover, slug,
                {std::move(imageData), "image", "image/jpeg", "image.jpeg"}, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::saveChatHistory(const std::string& slug,
                                                 std::vector<std::byte> chatData,
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

ZVAPICall<std::shared_ptr<ZVStream>> ZVStreamService::getStreamDetail(
    const std::string& slug, ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return callFor(*with_.service, ZVAPI::getStreamDetail, slug, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVStream>> ZVStreamService::getStreamDetailWithPWD(
    const std::string& title, const std::string& password,
    ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return detail::call(*with_.service, ZVAPI::getStreamDetailWithPassword,
                      json::Object{{"title", title}, {"password", password}},
                      std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVStream>> ZVStreamService::getResumeStreamDetail(
    const std::string& slug, ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return callFor(*with_.service, ZVAPI::getResumeStreamDetail, slug, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVStreamStatistic>> ZVStreamService::getStreamStatistic(
    const std::string& slug, ZVCompletion<std::shared_ptr<ZVStreamStatistic>> completion) {
  return callFor(*with_.service, ZVAPI::getStreamStatistic, slug, std::move(completion));
}

// Not the tags path, which the catalogue lists as well: backends answer the tags here.
ZVAPICall<std::vector<std::shared_ptr<const ZVStreamTag>>> ZVStreamService::getStreamTags(
    ZVCompletion<std::vector<std::shared_ptr<const ZVStreamTag>>> completion) {
  return detail::call(*with_.service, ZVAPI::likeStream, std::nullopt, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>>
ZVStreamService::getStreamProductList(
    const std::string& slug, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion) {
  return callForPage(*with_.service, ZVAPI::getStreamProductList, slug, nextId, limit,
                     std::move(completion));
}

// Who watches.

ZVAPICall<bool> ZVStreamService::updateStreamViewCount(const std::string& slug,
                                                       ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::updateStreamViewCount, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::leaveStream(std::int64_t streamUserId, const std::string& slug,
                                             ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::leaveStream,
                      json::Object{{"streamUserId", streamUserId}, {"slug", slug}},
                      std::move(completion));
}

ZVAPICall<std::vector<std::shared_ptr<ZVUser>>> ZVStreamService::getAudienceList(
    const std::string& slug, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::vector<std::shared_ptr<ZVUser>>> completion) {
  return callForPage(*with_.service, ZVAPI::getAudienceList, slug, nextId, limit,
                     std::move(completion));
}

ZVAPICall<ZVLikeStream> ZVStreamService::likeStream(const std::string& slug, std::int64_t count,
                                                    bool isUnique,
                                                    ZVCompletion<ZVLikeStream> completion) {
  return detail::call(*with_.service, ZVAPI::likeStream,
                      json::Object{{"slug", slug}, {"count", count}, {"isUnique", isUnique}},
                      std::move(completion));
}

ZVAPICall<bool> ZVStreamService::reportStream(const std::string& reason, const std::string& slug,
                                              ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::reportStream,
                      json::Object{{"reason", reason}, {"slug", slug}}, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::unreportStream(const std::string& slug,
                                                ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::unreportStream, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::shareClickTracking(const std::string& slug,
                                                    ZVCompletion<bool> completion) {
  return callFor(*with_.service, ZVAPI::shareClickTracking, slug, std::move(completion));
}

// What is shown in it.

ZVAPICall<std::string> ZVStreamService::getStreamFloatingTextPosition(
    const std::string& slug, ZVCompletion<std::string> completion) {
  return callFor(*with_.service, ZVAPI::getStreamFloatingTextPosition, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::updateStreamFloatingTextPosition(const std::string& data,
                                                                  const std::string& slug,
                                                                  ZVCompletion<bool> completion) {
  return updateData(*with_.service, ZVAPI::updateStreamFloatingTextPosition, slug, data,
                    std::move(completion));
}

ZVAPICall<std::string> ZVStreamService::getPinnedMessage(const std::string& slug,
                                                         ZVCompletion<std::string> completion) {
  return callFor(*with_.service, ZVAPI::pinned, slug, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::setPinnedMessage(const std::string& slug,
                                                  const std::string& message,
                                                  ZVCompletion<bool> completion) {
  return updateData(*with_.service, ZVAPI::updatePinned, slug, message, std::move(completion));
}

// Who broadcasts with the owner.

ZVAPICall<bool> ZVStreamService::addStreamCoHost(const std::string& slug, std::int64_t position,
                                                 std::int64_t guestId, std::int64_t userId,
                                                 ZVCompletion<bool> completion) {
  return addStreamCoHost({position, guestId, userId, slug}, std::move(completion));
}

ZVAPICall<bool> ZVStreamService::removeStreamCoHost(const std::string& slug, std::int64_t position,
                                                    std::int64_t guestId, std::int64_t userId,
                                                    ZVCompletion<bool> completion) {
  return removeStreamCoHost({position, guestId, userId, slug}, std::move(completion));
}

ZVAPICall<std::shared_ptr<const ZVStreamCoHostCredits>> ZVStreamService::getCoHostCredits(
    const std::string& slug,
    ZVCompletion<std::shared_ptr<const ZVStreamCoHostCredits>> completion) {
  return callFor(*with_.service, ZVAPI::getCoHostCredits, slug, std::move(completion));
}

// The same with the arguments as a record.

ZVAPICall<std::shared_ptr<ZVStream>> ZVStreamService::createStream(
    const ZVCreateStreamRequest& request, ZVCompletion<std::shared_ptr<ZVStream>> completion) {
  return detail::call(*with_.service, ZVAPI::createStream, toParameters(request),
                      std::move(completion));
}

ZVAPICall<bool> ZVStreamService::addStreamCoHost(const ZVAddStreamCoHostRequest& request,
                                                 ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::addStreamCoHost, toParameters(request),
                      std::move(completion));
}

ZVAPICall<bool> ZVStreamService::removeStreamCoHost(const ZVAddStreamCoHostRequest& request,
                                                    ZVCompletion<bool> completion) {
  return detail::call(*with_.service, ZVAPI::removeStreamCoHost, toParameters(request),
                      std::move(completion));
}

}  // namespace zavelo

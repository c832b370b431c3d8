#include "zavelo/api/api_service.hpp"

#include <utility>

#include "zavelo/api/exchange_internal.hpp"
#include "zavelo/api/token_renewal_internal.hpp"

namespace zavelo {

using detail::ApiContext;
using detail::Exchange;

namespace {

using OnProgress = std::function<void(const HttpUpload&)>;

/// Brings progress to the main queue. A queue that the app has given up is not kept alive by it.
OnProgress onMainQueue(std::weak_ptr<Queue> mainQueue, OnProgress onProgress) {
  if (!onProgress) return onProgress;
  return [mainQueue = std::move(mainQueue), app = std::make_shared<const OnProgress>(
                                                std::move(onProgress))](const HttpUpload& upload) {
    if (const auto queue = mainQueue.lock()) queue->post([app, upload] { (*app)(upload); });
  };
}

ZVCall send(const std::shared_ptr<ApiContext>& context, detail::ApiRequest request,
            std::unique_ptr<detail::EnvelopeSink> sink) {
  const auto exchange = Exchange::create(context, std::move(request), std::move(sink));
  exchange->send();
  return ZVCall(exchange);
}

}  // namespace

std::shared_ptr<ZVAPIService> ZVAPIService::create(const Collaborators& collaborators) {
  return std::shared_ptr<ZVAPIService>(new ZVAPIService(collaborators));
}

ZVAPIService::ZVAPIService(const Collaborators& collaborators)
    : mainQueue_(collaborators.mainQueue), context_(std::make_shared<ApiContext>(collaborators)) {}

ZVAPIService::~ZVAPIService() {
  context_->serviceIsGone = true;
  for (const auto& exchange : context_->underWay()) exchange->onServiceEnd();
}

ZVCall ZVAPIService::start(ZVEndpointRequest request, std::unique_ptr<detail::EnvelopeSink> sink) {
  request.onProgress = onMainQueue(mainQueue_, std::move(request.onProgress));
  return send(context_, {std::move(request), serviceLogLevel()}, std::move(sink));
}

ZVAPICall<std::shared_ptr<const ZVRefreshToken>> ZVAPIService::refreshToken(
    const std::string& refreshToken,
    ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](auto answer) {
    return send(context_, detail::renewalRequest(refreshToken),
                detail::envelopeSink<std::shared_ptr<const ZVRefreshToken>>(std::move(answer)));
  });
}

void ZVAPIService::setSessionSource(std::weak_ptr<ZVSessionSource> source) {
  context_->setSessionSource(std::move(source));
}

ZVAPIService::APILogLevel ZVAPIService::serviceLogLevel() const noexcept {
  return context_->serviceLogLevel;
}

void ZVAPIService::setServiceLogLevel(APILogLevel level) noexcept {
  context_->serviceLogLevel = level;
}

ZVSessionPolicy ZVAPIService::sessionPolicy() const noexcept {
  return context_->sessionPolicy;
}

void ZVAPIService::setSessionPolicy(ZVSessionPolicy policy) noexcept {
  context_->sessionPolicy = policy;
}

void ZVAPIService::setCallObserver(std::shared_ptr<ZVCallObserver> observer) {
  context_->setCallObserver(std::move(observer));
}

void ZVAPIService::setTracing(bool isTracing) noexcept {
  context_->isTracing = isTracing;
}

std::size_t ZVAPIService::callsUnderWay() const {
  return context_->callsUnderWay();
}

const std::shared_ptr<NotificationCentre>& ZVAPIService::notifications() const noexcept {
  return context_->notifications;
}

const std::shared_ptr<HttpSession>& ZVAPIService::session() const noexcept {
  return context_->http;
}

}  // namespace zavelo

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

ZVCall ZVAPIService::start(detail::ApiRequest request, std::unique_ptr<detail::EnvelopeSink> sink) {
  request.options.onProgress = onMainQueue(mainQueue_, std::move(request.options.onProgress));
  const auto exchange = Exchange::create(context_, std::move(request), std::move(sink));
  exchange->send();
  return ZVCall(exchange);
}

ZVCall ZVAPIService::refreshToken(const std::string& refreshToken,
                                  ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion) {
  return start(detail::renewalRequest(refreshToken),
               detail::envelopeSink<std::shared_ptr<const ZVRefreshToken>>(std::move(completion)));
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

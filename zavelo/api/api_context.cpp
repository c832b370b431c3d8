#include "zavelo/api/api_context_internal.hpp"

#include "zavelo/core/notifications.hpp"

namespace zavelo::detail {

void ApiContext::setCallObserver(std::shared_ptr<ZVCallObserver> observer) {
  const std::lock_guard lock(mutex_);
  isObserved_ = observer != nullptr;
  callObserver_.swap(observer);
}

std::unique_ptr<CallMeter> ApiContext::meterOf(const ZVEndpointRequest& request) const {
  if (!isObserved_) return nullptr;
  std::shared_ptr<ZVCallObserver> observer;
  {
    const std::lock_guard lock(mutex_);
    observer = callObserver_;
  }
  return observer ? std::make_unique<CallMeter>(std::move(observer), request.endpoint.url)
                  : nullptr;
}

std::shared_ptr<ZVSessionSource> ApiContext::sessionSource() const {
  const std::lock_guard lock(mutex_);
  return sessionSource_.lock();
}

void ApiContext::setSessionSource(std::weak_ptr<ZVSessionSource> source) {
  const std::lock_guard lock(mutex_);
  sessionSource_ = std::move(source);
}

ZVSession ApiContext::session() const {
  const auto source = sessionSource();
  return source ? source->session() : ZVSession();
}

std::vector<HttpHeader> ApiContext::commonHeaders(const ZVSession& session) {
  std::vector<HttpHeader> headers{{"Accept", "application/json"}};
  if (session.accessToken) headers.push_back({"Authorization", "bearer " + *session.accessToken});
  return headers;
}

bool ApiContext::endSession(ZVSessionId id) const {
  const auto source = sessionSource();
  return source ? source->endSessionIf(id) : id == 0;
}

void ApiContext::giveUpSession(ZVSessionSource& source, ZVSessionId id) const {
  notifications->post(ZaveloDidRefreshTokenFailed);
  (void)source.endSessionIf(id);  // an observer may have ended it, or signed another user in
}

std::shared_ptr<TokenRenewal> ApiContext::renewalOf(ZVSessionId id) const {
  return id == renewing_ ? renewal_.lock() : nullptr;
}

void ApiContext::setRenewal(ZVSessionId id, std::weak_ptr<TokenRenewal> renewal) {
  renewing_ = id;
  renewal_ = std::move(renewal);
}

void ApiContext::enter(const std::shared_ptr<Exchange>& exchange) {
  const std::lock_guard lock(mutex_);
  exchanges_.emplace(exchange.get(), exchange);
}

void ApiContext::leave(Exchange* exchange) {
  const std::lock_guard lock(mutex_);
  exchanges_.erase(exchange);
}

std::size_t ApiContext::callsUnderWay() const {
  const std::lock_guard lock(mutex_);
  return exchanges_.size();
}

std::vector<std::shared_ptr<Exchange>> ApiContext::underWay() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<Exchange>> all;
  for (const auto& [address, exchange] : exchanges_)
    if (auto held = exchange.lock()) all.push_back(std::move(held));
  return all;
}

}  // namespace zavelo::detail

#include "zavelo/api/api_context_internal.hpp"

namespace zavelo::detail {

std::shared_ptr<ZVSessionSource> ApiContext::sessionSource() const {
  const std::lock_guard lock(mutex_);
  return sessionSource_.lock();
}

void ApiContext::setSessionSource(std::weak_ptr<ZVSessionSource> source) {
  const std::lock_guard lock(mutex_);
  sessionSource_ = std::move(source);
}

std::vector<HttpHeader> ApiContext::commonHeaders() const {
  std::vector<HttpHeader> headers{{"Accept", "application/json"}};
  if (const auto source = sessionSource())
    if (const auto token = source->accessToken())
      headers.push_back({"Authorization", "bearer " + *token});
  return headers;
}

void ApiContext::endSession() const {
  if (const auto source = sessionSource()) source->endSession();
}

void ApiContext::enter(const std::shared_ptr<Exchange>& exchange) {
  const std::lock_guard lock(mutex_);
  exchanges_.emplace(exchange.get(), exchange);
}

void ApiContext::leave(Exchange* exchange) {
  const std::lock_guard lock(mutex_);
  exchanges_.erase(exchange);
}

std::vector<std::shared_ptr<Exchange>> ApiContext::underWay() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<Exchange>> all;
  for (const auto& [address, exchange] : exchanges_)
    if (auto held = exchange.lock()) all.push_back(std::move(held));
  return all;
}

}  // namespace zavelo::detail

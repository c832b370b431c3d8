#include <utility>

#include "zavelo/api/api.hpp"
#include "zavelo/api/exchange_internal.hpp"
#include "zavelo/api/request_encoding_internal.hpp"
#include "zavelo/api/token_renewal_internal.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/core/notifications.hpp"

namespace zavelo::detail {
namespace {

constexpr int unauthorizedStatus = 401;
constexpr int renewalLimit = 2;  // for one call

using OnReply = UniqueFunction<void(const std::optional<HttpReply>&)>;

/// Passes the reply on to the main queue, or the news that the HTTP session lost the request.
class Relay {
 public:
  Relay(std::shared_ptr<Queue> queue, OnReply onReply)
      : queue_(std::move(queue)), onReply_(std::move(onReply)) {}
  Relay(Relay&& other) noexcept
      : queue_(std::move(other.queue_)), onReply_(std::exchange(other.onReply_, nullptr)) {}
  Relay& operator=(Relay&&) = delete;
  ~Relay() {
    if (onReply_) pass(std::nullopt);
  }

  void operator()(HttpReply reply) { pass(std::move(reply)); }

 private:
  void pass(std::optional<HttpReply> reply) {
    queue_->post([onReply = std::exchange(onReply_, nullptr), reply = std::move(reply)]() mutable {
      onReply(reply);
    });
  }

  std::shared_ptr<Queue> queue_;
  OnReply onReply_;
};

}  // namespace

std::shared_ptr<Exchange> Exchange::create(std::shared_ptr<ApiContext> context, ApiRequest request,
                                           std::unique_ptr<EnvelopeSink> sink) {
  std::shared_ptr<Exchange> exchange(
      new Exchange(std::move(context), std::move(request), std::move(sink)));
  exchange->context_->enter(exchange);
  return exchange;
}

Exchange::Exchange(std::shared_ptr<ApiContext> context, ApiRequest request,
                   std::unique_ptr<EnvelopeSink> sink)
    : context_(std::move(context)),
      request_(std::move(request)),
      log_(context_->clock, request_.logLevel),
      sink_(std::move(sink)) {}

Exchange::~Exchange() {
  context_->leave(this);
  // Only a main queue that is destroyed with the answer still in it ends an exchange like this.
  if (sink_) sink_->drop();
}

void Exchange::send() {
  auto headers = context_->commonHeaders();
  log_.request(request_.method, request_.url, headers, request_.parameters);
  auto http = httpRequest(request_, std::move(headers));
  auto queue = context_->mainQueue.lock();
  if (!queue) return;  // nobody is left to answer on
  Relay relay(std::move(queue),
              [self = shared_from_this()](const auto& reply) { self->onReply(reply); });
  if (!http) {
    HttpReply unsent;
    unsent.failure = std::move(http).error();
    return relay(std::move(unsent));
  }
  auto task = context_->session->send(std::move(*http), std::move(relay));
  {
    const std::lock_guard lock(mutex_);
    task_ = std::move(task);
  }
  // Whoever wanted to end the transfer meanwhile did not find it yet.
  if (isCancelled() || context_->serviceIsGone) stopTransfer();
}

void Exchange::cancel() {
  std::shared_ptr<Exchange> renewal;
  {
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
    renewal = renewal_.lock();
  }
  stopTransfer();
  if (renewal) renewal->cancel();
}

void Exchange::stopTransfer() {
  std::shared_ptr<HttpTask> task;
  {
    const std::lock_guard lock(mutex_);
    task = task_;
  }
  if (task) task->cancel();
}

bool Exchange::isCancelled() {
  const std::lock_guard lock(mutex_);
  return cancelled_;
}

void Exchange::onReply(const std::optional<HttpReply>& reply) {
  gotResponse_ = reply && reply->status;
  log_.reply(reply);
  if (context_->serviceIsGone)
    return printLogAndFail(ZVAPIErrorType::noConnection, errorText::noConnection);
  if (isCancelled()) return printLogAndFail(ZVAPIErrorType::unknown, errorText::cancelled);
  if (!reply) return printLogAndFail(ZVAPIErrorType::unknown, errorText::unknown);
  if (reply->status == unauthorizedStatus) return onUnauthorized();
  log_.print();
  if (reply->failure) return fail({ZVAPIErrorType::unknown, reply->failure->description});
  readEnvelope(*reply);
}

void Exchange::onUnauthorized() {
  const auto source = context_->sessionSource();
  const auto refreshToken = source ? source->refreshToken() : std::nullopt;
  if (!request_.renewsSession || !refreshToken)
    return printLogAndFail(ZVAPIErrorType::unauthorized, errorText::unauthorized);
  renew(*refreshToken);
}

void Exchange::renew(const std::string& refreshToken) {
  const ApiRequest request = renewalRequest(refreshToken);
  log_.renewal(request.url, context_->commonHeaders(), *request.parameters);
  const auto link = std::make_shared<std::weak_ptr<Exchange>>();
  const auto renewal = create(context_, request,
                              envelopeSink<std::shared_ptr<const ZVRefreshToken>>(
                                  [self = shared_from_this(), link](const Renewed& result) {
                                    self->onRenewed(*link->lock(), result);
                                  }));
  *link = renewal;
  {
    const std::lock_guard lock(mutex_);
    renewal_ = renewal;
  }
  renewal->send();
  if (isCancelled()) renewal->cancel();
}

void Exchange::onRenewed(const Exchange& renewal, const Renewed& result) {
  log_.renewalReply(renewal.gotResponse());
  if (context_->serviceIsGone)
    return printLogAndFail(ZVAPIErrorType::noConnection, errorText::noConnection);
  if (isCancelled()) return printLogAndFail(ZVAPIErrorType::unknown, errorText::cancelled);
  log_.print();
  if (!result.isOk() || request_.retryCount >= renewalLimit) {
    context_->notifications->post(ZaveloDidRefreshTokenFailed);
    context_->endSession();  // unlike a verdict of the backend: observers still see the session
    return fail({ZVAPIErrorType::invalidRefreshToken, errorText::unauthorized,
                 result.isOk() ? "" : result.error().description});
  }
  if (const auto source = context_->sessionSource()) source->refreshTokenWith(*result.data());
  sendAgain();
}

// The file parts are gone, and the repetition is logged in full whatever the caller asked for.
void Exchange::sendAgain() {
  ++request_.retryCount;
  request_.encoding = ZVParameterEncoding::json;
  request_.multipartData.clear();
  request_.logLevel = ZVAPIService::APILogLevel::full;
  log_ = ExchangeLog(context_->clock, request_.logLevel);
  send();
}

void Exchange::readEnvelope(const HttpReply& reply) {
  if (const auto fault = sink_->decode(reply.body)) {
    if (request_.logLevel != ZVAPIService::APILogLevel::none)
      ZVLog::e(request_.url + ": " + fault->text(), ZVLogPosition("readEnvelope()"));
    return fail({ZVAPIErrorType::invalidData, errorText::invalidData, fault->text()});
  }
  Verdict verdict = sink_->verdict();
  if (!verdict.sessionEnd.empty()) {
    context_->endSession();
    context_->notifications->post(verdict.sessionEnd);
  }
  if (verdict.error) return fail(std::move(*verdict.error));
  if (!sink_->hasData())
    return fail({ZVAPIErrorType::invalidData, errorText::invalidData, "data: absent"});
  std::exchange(sink_, nullptr)->ok();
}

void Exchange::printLogAndFail(ZVAPIErrorType type, std::string description) {
  log_.print();
  fail({type, std::move(description)});
}

void Exchange::fail(ZVAPIError error) {
  std::exchange(sink_, nullptr)->error(std::move(error));
}

}  // namespace zavelo::detail

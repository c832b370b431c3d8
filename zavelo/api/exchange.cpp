#include <algorithm>
#include <utility>

#include "zavelo/api/api.hpp"
#include "zavelo/api/exchange_internal.hpp"
#include "zavelo/api/request_encoding_internal.hpp"
#include "zavelo/api/token_renewal_internal.hpp"
#include "zavelo/core/log.hpp"

namespace zavelo::detail {
namespace {

constexpr int unauthorizedStatus = 401;
constexpr int firstServerErrorStatus = 500;
constexpr int renewalLimit = 2;  // for one call

ZVAPIError sessionLost(std::string detail) {
  return {ZVAPIErrorType::invalidRefreshToken, errorText::unauthorized, std::move(detail)};
}

std::string deadlineText(std::chrono::milliseconds deadline) {
  return "no answer within the deadline of " + std::to_string(deadline.count()) +
         " ms: the session had to be renewed";
}

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
                                           std::unique_ptr<EnvelopeSink> sink,
                                           std::optional<ZVSession> session) {
  if (!session) session = context->session();
  std::shared_ptr<Exchange> exchange(
      new Exchange(std::move(context), std::move(request), std::move(sink), std::move(*session)));
  exchange->context_->enter(exchange);
  return exchange;
}

Exchange::Exchange(std::shared_ptr<ApiContext> context, ApiRequest request,
                   std::unique_ptr<EnvelopeSink> sink, ZVSession session)
    : context_(std::move(context)),
      request_(std::move(request)),
      files_(formParts(request_.files ? std::exchange(*request_.files, {})
                                      : std::vector<ZVMultiPartData>())),
      session_(std::move(session)),
      start_(context_->clock->sinceBoot()),
      deadline_(request_.deadline),
      log_(context_->clock, request_.level),
      meter_(context_->meterOf(request_)),
      sink_(std::move(sink)),
      isRenewing_(request_.isRenewal) {}

Exchange::~Exchange() {
  context_->leave(this);
  // Only a main queue that is destroyed with the answer still in it ends an exchange like this.
  if (sink_) sink_->drop();
}

bool Exchange::isAnswered() const noexcept {
  return status_ && !isBroken_ && *status_ < firstServerErrorStatus;
}

void Exchange::send() {
  auto headers = ApiContext::commonHeaders(session_);
  if (context_->isTracing) headers.push_back({traceHeader, trace_.nextHeader()});
  log_.request(request_.endpoint.method, request_.endpoint.url, headers, request_.parameters);
  auto http = httpRequest(request_, files_, std::move(headers));
  auto queue = context_->mainQueue.lock();
  if (!queue) return;  // there is no queue left to answer on
  Relay relay(std::move(queue),
              [self = shared_from_this()](const auto& reply) { self->onReply(reply); });
  if (!http) {
    HttpReply unsent;
    unsent.failure = std::move(http).error();
    return relay(std::move(unsent));
  }
  if (meter_) {
    http->isMeasured = true;
    meter_->sent(http->headers);
  }
  auto task = context_->http->send(std::move(*http), std::move(relay));
  {
    const std::lock_guard lock(mutex_);
    task_ = std::move(task);
  }
  // An interruption that came before the task was known has not reached it.
  if (isOrphaned() || isCancelled_) interrupt();
}

void Exchange::cancel() {
  isCancelled_ = true;
  interrupt();
}

void Exchange::onServiceEnd() {
  if (!request_.isRenewal) interrupt();
}

/// Ends the transfer under way; its end brings the answer. A renewal goes on, so that its result is
/// kept, and the caller is answered without it.
void Exchange::interrupt() {
  if (isRenewing_) {
    if (const auto queue = context_->mainQueue.lock())
      queue->post([self = shared_from_this()] { self->answerInterrupted(); });
    return;
  }
  std::shared_ptr<HttpTask> task;
  {
    const std::lock_guard lock(mutex_);
    task = task_;
  }
  if (task) task->cancel();  // without one the call is about to be sent, and send() looks again
}

void Exchange::answerInterrupted() {
  // Otherwise it has been sent again, and looked for interruptions then.
  if (isRenewing_ && isOpen()) failIfInterrupted();
}

bool Exchange::isOrphaned() const {
  return context_->serviceIsGone && !request_.isRenewal;
}

bool Exchange::failIfInterrupted() {
  if (isOrphaned()) {
    printLogAndFail(ZVAPIErrorType::noConnection, errorText::noConnection);
    return true;
  }
  if (isCancelled_) {
    printLogAndFail(ZVAPIErrorType::unknown, errorText::cancelled);
    return true;
  }
  return false;
}

void Exchange::onReply(const std::optional<HttpReply>& reply) {
  if (!isOpen()) return;
  status_ = reply ? reply->status : std::nullopt;
  isBroken_ = !reply || reply->failure;
  log_.reply(reply);
  if (meter_) meter_->replied(reply);
  if (failIfInterrupted()) return;
  if (!reply) return printLogAndFail(ZVAPIErrorType::unknown, errorText::unknown);
  if (reply->status == unauthorizedStatus) return onUnauthorized();
  log_.print();
  if (reply->failure) return fail({ZVAPIErrorType::unknown, reply->failure->description});
  readEnvelope(*reply);
}

void Exchange::onUnauthorized() {
  auto source = context_->sessionSource();
  ZVSession now = source ? source->session() : ZVSession();
  if (request_.isRenewal || now.id != session_.id || !now.refreshToken)
    return printLogAndFail(ZVAPIErrorType::unauthorized, errorText::unauthorized);
  if (isResilient() && now.accessToken != session_.accessToken) {
    log_.print();
    return sendAgain();  // with the token that another call has bought meanwhile
  }
  renew(std::move(source), std::move(now));
}

void Exchange::renew(std::shared_ptr<ZVSessionSource> source, ZVSession session) {
  const ApiRequest request = renewalRequest(*session.refreshToken);
  log_.renewal(request.endpoint.url, ApiContext::commonHeaders(session), *request.parameters);
  isRenewing_ = true;
  if (const auto left = timeLeft())
    if (const auto queue = context_->mainQueue.lock())
      queue->postAfter(std::max(*left, std::chrono::milliseconds(0)), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->failAtDeadline();
      });
  TokenRenewal::start(context_, std::move(source), std::move(session), shared_from_this());
  if (isOrphaned() || isCancelled_) interrupt();  // the interruption may have met no task
}

void Exchange::onRenewed(const TokenRenewal::Result& result) {
  isRenewing_ = false;
  if (!isOpen()) return;
  log_.renewalReply(result.gotResponse);
  if (failIfInterrupted()) return;
  log_.print();
  using Outcome = TokenRenewal::Outcome;
  switch (result.outcome) {
    case Outcome::renewed:
      if (request_.retryCount >= renewalLimit) break;
      ++request_.retryCount;
      return sendAgain();
    case Outcome::refused:
      return fail(sessionLost(result.error.description));
    case Outcome::unanswered:
      return fail(result.error);
    case Outcome::otherSession:
      return fail({ZVAPIErrorType::unauthorized, errorText::unauthorized});
  }
  const auto source = context_->sessionSource();
  if (source && source->session().id == session_.id) context_->giveUpSession(*source, session_.id);
  fail(sessionLost(""));
}

std::optional<std::chrono::milliseconds> Exchange::timeLeft() const {
  if (!deadline_) return std::nullopt;
  const auto passed = context_->clock->sinceBoot() - start_;
  return *deadline_ - std::chrono::duration_cast<std::chrono::milliseconds>(passed);
}

/// The renewal itself has no deadline: its tokens are wanted.
void Exchange::failAtDeadline() {
  if (!isRenewing_ || !isOpen()) return;
  printLogAndFail(ZVAPIErrorType::unknown, deadlineText(*deadline_));
}

void Exchange::sendAgain() {
  ZVSession now = context_->session();
  if (now.id != session_.id) return fail({ZVAPIErrorType::unauthorized, errorText::unauthorized});
  session_ = std::move(now);
  request_.deadline = timeLeft();
  if (deadline_ && request_.deadline <= std::chrono::milliseconds(0))
    return fail({ZVAPIErrorType::unknown, deadlineText(*deadline_)});
  if (!isResilient()) {
    request_.encoding = ZVParameterEncoding::json;
    files_.clear();
    request_.level = ZVAPIService::APILogLevel::full;
  }
  log_ = ExchangeLog(context_->clock, request_.level);
  send();
}

void Exchange::readEnvelope(const HttpReply& reply) {
  const auto begin = meter_ ? context_->clock->sinceBoot() : start_;
  const auto fault = sink_->decode(reply.body);
  if (meter_) meter_->decoded(context_->clock->sinceBoot() - begin);
  if (fault) return onUndecodable(reply, *fault);
  Verdict verdict = sink_->verdict();
  endSession(verdict.sessionEnd);
  if (verdict.error) return fail(std::move(*verdict.error));
  if (!sink_->hasData())
    return fail({ZVAPIErrorType::invalidData, errorText::invalidData, "data: absent"});
  ended(std::nullopt)->ok();
}

void Exchange::onUndecodable(const HttpReply& reply, const json::Error& fault) {
  if (request_.level != ZVAPIService::APILogLevel::none)
    ZVLog::e(request_.endpoint.url + ": " + fault.text(), ZVLogPosition("readEnvelope()"));
  if (isResilient()) {
    Verdict verdict = judgeWithoutData(reply.body);
    endSession(verdict.sessionEnd);
    if (!verdict.sessionEnd.empty()) return fail(std::move(*verdict.error));
  }
  fail({ZVAPIErrorType::invalidData, errorText::invalidData, fault.text()});
}

/// Nothing happens when the reply does not say so, or says so of a session that is over.
void Exchange::endSession(std::string_view notification) {
  if (notification.empty() || !context_->endSession(session_.id)) return;
  hasEndedSession_ = true;
  context_->notifications->post(notification);
}

bool Exchange::isResilient() const {
  return context_->sessionPolicy == ZVSessionPolicy::resilient;
}

void Exchange::printLogAndFail(ZVAPIErrorType type, std::string description) {
  log_.print();
  fail({type, std::move(description)});
}

void Exchange::fail(ZVAPIError error) {
  const auto sink = ended(error.type);
  sink->error(std::move(error));
}

std::unique_ptr<EnvelopeSink> Exchange::ended(std::optional<ZVAPIErrorType> error) {
  auto sink = std::exchange(sink_, nullptr);
  if (meter_) meter_->ended(error, context_->clock->sinceBoot() - start_);
  return sink;
}

}  // namespace zavelo::detail

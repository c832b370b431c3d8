#include <algorithm>
#include <utility>

#include "zavelo/api/api.hpp"
#include "zavelo/api/exchange_internal.hpp"
#include "zavelo/api/token_renewal_internal.hpp"

namespace zavelo::detail {
namespace {

bool hasAccessToken(const ZVRefreshToken& tokens) {
  return !tokens.accessToken.value_or("").empty();
}

}  // namespace

ApiRequest renewalRequest(const std::string& refreshToken) {
  ApiRequest request({.endpoint = ZVAPI::refreshUserToken,
                      .parameters = json::Object{{"refreshToken", refreshToken}}},
                     ZVAPILogLevel::none);
  request.isRenewal = true;
  return request;
}

void TokenRenewal::start(const std::shared_ptr<ApiContext>& context,
                         std::shared_ptr<ZVSessionSource> source, ZVSession session,
                         std::shared_ptr<Exchange> call) {
  if (context->sessionPolicy == ZVSessionPolicy::resilient) {
    if (const auto underWay = context->renewalOf(session.id))
      return underWay->calls_.push_back(std::move(call));
  }
  const auto renewal = std::make_shared<TokenRenewal>(context, std::move(source),
                                                      std::move(session), std::move(call));
  context->setRenewal(renewal->session_.id, renewal);
  renewal->send();
}

TokenRenewal::TokenRenewal(std::shared_ptr<ApiContext> context,
                           std::shared_ptr<ZVSessionSource> source, ZVSession session,
                           std::shared_ptr<Exchange> call)
    : context_(std::move(context)),
      source_(std::move(source)),
      session_(std::move(session)),
      calls_{std::move(call)} {}

void TokenRenewal::send() {
  const auto link = std::make_shared<std::weak_ptr<Exchange>>();
  const auto exchange =
      Exchange::create(context_, renewalRequest(session_.refreshToken.value_or("")),
                       envelopeSink<std::shared_ptr<const ZVRefreshToken>>(
                           [self = shared_from_this(), link](const Answer& answer) {
                             self->onAnswer(*link->lock(), answer);
                           }),
                       session_);
  *link = exchange;
  exchange->send();
}

void TokenRenewal::onAnswer(const Exchange& exchange, const Answer& answer) {
  // A call that meets 401 from here on needs a renewal of its own.
  context_->setRenewal(session_.id, {});
  const Result result = settle(exchange, answer);
  for (const auto& call : calls_) call->onRenewed(result);
}

TokenRenewal::Result TokenRenewal::settle(const Exchange& exchange, const Answer& answer) {
  const bool isResilient = context_->sessionPolicy == ZVSessionPolicy::resilient;
  Result result{Outcome::renewed, {}, exchange.status().has_value()};
  if (!answer.isOk()) {
    result.error = answer.error();
    result.outcome = isResilient && !exchange.isAnswered() ? Outcome::unanswered : Outcome::refused;
  } else if (isResilient && !hasAccessToken(*answer.data())) {
    result.error = {ZVAPIErrorType::invalidData, errorText::invalidData,
                    "data.accessToken: absent"};
    result.outcome = Outcome::refused;
  }
  // The backend may have ended the session by the renewal's own reply.
  const bool isCurrent = result.outcome == Outcome::renewed
                             ? source_->refreshTokenIf(session_.id, *answer.data())
                             : exchange.hasEndedSession() || source_->session().id == session_.id;
  if (!isCurrent) {
    result.outcome = Outcome::otherSession;
  } else if (result.outcome == Outcome::refused && isWanted()) {
    context_->giveUpSession(*source_, session_.id);
  }
  return result;
}

/// A renewal that failed ends the session on behalf of a call. Where each has been answered
/// meanwhile (cancelled, say), the next call finds out whether the session can still be renewed.
bool TokenRenewal::isWanted() const {
  return std::any_of(calls_.begin(), calls_.end(), [](const auto& call) { return call->isOpen(); });
}

}  // namespace zavelo::detail

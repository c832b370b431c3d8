#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/api/api_context_internal.hpp"
#include "zavelo/api/exchange_log_internal.hpp"
#include "zavelo/api/token_renewal_internal.hpp"

namespace zavelo::detail {

/// One call of the backend from its request to its answer, renewals and re-sends included:
///
///     sent -> reply -> answered
///              401 -> renewal -> sent again (at most twice) | answered
///
/// Starts on the caller's thread and goes on on the main queue. The next callback to it keeps it
/// alive.
class Exchange final : public Cancellable, public std::enable_shared_from_this<Exchange> {
 public:
  /// `session` is the one that the call is made in: if not given, the current one.
  [[nodiscard]] static std::shared_ptr<Exchange> create(
      std::shared_ptr<ApiContext> context, ApiRequest request, std::unique_ptr<EnvelopeSink> sink,
      std::optional<ZVSession> session = std::nullopt);
  ~Exchange() override;
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  void send();
  void cancel() override;
  /// The API service is being destroyed.
  void onServiceEnd();
  /// The renewal that the call waits for is over.
  void onRenewed(const TokenRenewal::Result& result);

  /// Whether the caller still waits for its answer. On the main queue.
  [[nodiscard]] bool isOpen() const noexcept { return sink_ != nullptr; }
  /// Of the last reply; absent when no HTTP response arrived.
  [[nodiscard]] std::optional<int> status() const noexcept { return status_; }
  /// Whether the backend itself answered, with a whole reply and no status of 5xx.
  [[nodiscard]] bool isAnswered() const noexcept;
  /// Whether the reply's code has ended the session.
  [[nodiscard]] bool hasEndedSession() const noexcept { return hasEndedSession_; }

 private:
  Exchange(std::shared_ptr<ApiContext> context, ApiRequest request,
           std::unique_ptr<EnvelopeSink> sink, ZVSession session);

  void onReply(const std::optional<HttpReply>& reply);
  void onUnauthorized();
  void renew(std::shared_ptr<ZVSessionSource> source, ZVSession session);
  void failAtDeadline();
  void sendAgain();
  void readEnvelope(const HttpReply& reply);
  void onUndecodable(const HttpReply& reply, const json::Error& fault);
  void endSession(std::string_view notification);

  /// Until the call's deadline; absent when it has none.
  [[nodiscard]] std::optional<std::chrono::milliseconds> timeLeft() const;
  void interrupt();
  void answerInterrupted();
  [[nodiscard]] bool isOrphaned() const;  ///< the API service was destroyed
  [[nodiscard]] bool isResilient() const;
  bool failIfInterrupted();
  void printLogAndFail(ZVAPIErrorType type, std::string description);
  void fail(ZVAPIError error);
  /// Gives the sink away, which is to be answered at once.
  [[nodiscard]] std::unique_ptr<EnvelopeSink> ended(std::optional<ZVAPIErrorType> error);

  const std::shared_ptr<ApiContext> context_;
  ApiRequest request_;
  std::vector<HttpFormPart> files_;
  ZVSession session_;  ///< that the call was made in, with the tokens of its last sending
  const std::chrono::nanoseconds start_;  ///< of the clock that counts from the boot
  const std::optional<std::chrono::milliseconds> deadline_;
  ExchangeLog log_;
  const std::unique_ptr<CallMeter> meter_;  ///< null when calls are not observed
  TraceContext trace_;
  std::unique_ptr<EnvelopeSink> sink_;  ///< null once answered
  std::optional<int> status_;
  bool isBroken_ = false;  ///< the transport failed, perhaps in the middle of the reply
  bool hasEndedSession_ = false;

  // cancel() comes from any thread:
  std::atomic<bool> isRenewing_;  ///< a renewal is under way, which nothing may cut short
  std::atomic<bool> isCancelled_{false};
  std::mutex mutex_;  // guards what follows
  std::shared_ptr<HttpTask> task_;
};

}  // namespace zavelo::detail

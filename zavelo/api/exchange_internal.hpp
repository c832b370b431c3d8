#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "zavelo/api/api_context_internal.hpp"
#include "zavelo/api/exchange_log_internal.hpp"

namespace zavelo::detail {

/// One call of the backend from its request to its answer, renewals and re-sends included:
///
///     sent -> reply -> answered
///              401 -> renewal -> sent again (at most twice) | answered
///
/// Starts on the caller's thread and goes on on the main queue. Whoever will call it back next
/// keeps it alive.
class Exchange final : public Cancellable, public std::enable_shared_from_this<Exchange> {
 public:
  [[nodiscard]] static std::shared_ptr<Exchange> create(std::shared_ptr<ApiContext> context,
                                                        ApiRequest request,
                                                        std::unique_ptr<EnvelopeSink> sink);
  ~Exchange() override;
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  void send();
  void cancel() override;
  /// Ends the transfer under way. What the answer says is decided when its end arrives.
  void stopTransfer();
  [[nodiscard]] bool gotResponse() const noexcept { return gotResponse_; }

 private:
  using Renewed = ZVAPIResult<std::shared_ptr<const ZVRefreshToken>>;

  Exchange(std::shared_ptr<ApiContext> context, ApiRequest request,
           std::unique_ptr<EnvelopeSink> sink);

  void onReply(const std::optional<HttpReply>& reply);
  void onUnauthorized();
  void renew(const std::string& refreshToken);
  void onRenewed(const Exchange& renewal, const Renewed& result);
  void sendAgain();
  void readEnvelope(const HttpReply& reply);

  [[nodiscard]] bool isCancelled();
  void printLogAndFail(ZVAPIErrorType type, std::string description);
  void fail(ZVAPIError error);

  const std::shared_ptr<ApiContext> context_;
  ApiRequest request_;
  ExchangeLog log_;
  std::unique_ptr<EnvelopeSink> sink_;  ///< null once answered
  bool gotResponse_ = false;

  std::mutex mutex_;  // guards what follows: cancel() comes from any thread
  std::shared_ptr<HttpTask> task_;
  std::weak_ptr<Exchange> renewal_;
  bool cancelled_ = false;
};

}  // namespace zavelo::detail

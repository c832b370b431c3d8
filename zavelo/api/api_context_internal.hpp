#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zavelo/api/api_service.hpp"
#include "zavelo/api/call_meter_internal.hpp"

namespace zavelo::detail {

class Exchange;
class TokenRenewal;

struct ApiRequest : ZVEndpointRequest {
  /// The service's own log level goes in where the call has none.
  ApiRequest(ZVEndpointRequest request, ZVAPILogLevel serviceLogLevel)
      : ZVEndpointRequest(std::move(request)), level(logLevel.value_or(serviceLogLevel)) {}

  ZVAPILogLevel level;
  bool isRenewal = false;  ///< it buys new tokens: a 401 does not lead to another renewal
};

/// What the exchanges of one API service share. Outlives the service for as long as one of them is
/// under way.
class ApiContext {
 public:
  explicit ApiContext(const ZVAPIService::Collaborators& given)
      : http(given.session),
        mainQueue(given.mainQueue),
        notifications(given.notifications),
        clock(given.clock) {}

  const std::shared_ptr<HttpSession> http;
  /// The service's. An answer that waits in the queue holds the context, which must not hold the
  /// queue in turn: nobody could free either.
  const std::weak_ptr<Queue> mainQueue;
  const std::shared_ptr<NotificationCentre> notifications;
  const std::shared_ptr<Clock> clock;
  std::atomic<bool> serviceIsGone{false};
  std::atomic<ZVAPIService::APILogLevel> serviceLogLevel{ZVAPIService::APILogLevel::simple};
  std::atomic<ZVSessionPolicy> sessionPolicy{ZVSessionPolicy::asSpecified};
  std::atomic<bool> isTracing{false};

  void setCallObserver(std::shared_ptr<ZVCallObserver> observer);
  /// Null when calls are not observed.
  [[nodiscard]] std::unique_ptr<CallMeter> meterOf(const ZVEndpointRequest& request) const;

  [[nodiscard]] std::shared_ptr<ZVSessionSource> sessionSource() const;
  void setSessionSource(std::weak_ptr<ZVSessionSource> source);

  /// The session that calls are made in now.
  [[nodiscard]] ZVSession session() const;
  /// `Accept`, and `Authorization` (RFC 6750) when the session has an access token.
  [[nodiscard]] static std::vector<HttpHeader> commonHeaders(const ZVSession& session);
  /// Ends the session with this id. False: it is over already. Posts nothing.
  [[nodiscard]] bool endSession(ZVSessionId id) const;
  /// Ends a session that cannot be renewed. Unlike after a verdict of the backend, observers are
  /// notified while there still is a session to look at.
  void giveUpSession(ZVSessionSource& source, ZVSessionId id) const;

  /// The renewal of a session that is under way; null when there is none. On the main queue.
  [[nodiscard]] std::shared_ptr<TokenRenewal> renewalOf(ZVSessionId id) const;
  void setRenewal(ZVSessionId id, std::weak_ptr<TokenRenewal> renewal);

  void enter(const std::shared_ptr<Exchange>& exchange);
  void leave(Exchange* exchange);
  [[nodiscard]] std::vector<std::shared_ptr<Exchange>> underWay() const;
  [[nodiscard]] std::size_t callsUnderWay() const;

 private:
  ZVSessionId renewing_ = 0;
  std::weak_ptr<TokenRenewal> renewal_;  ///< of the session `renewing_`

  std::atomic<bool> isObserved_{false};
  mutable std::mutex mutex_;  // guards what follows
  std::shared_ptr<ZVCallObserver> callObserver_;
  std::weak_ptr<ZVSessionSource> sessionSource_;
  std::unordered_map<Exchange*, std::weak_ptr<Exchange>> exchanges_;
};

}  // namespace zavelo::detail

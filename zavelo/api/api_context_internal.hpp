#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

class Exchange;

/// What the exchanges of one API service share. Outlives the service for as long as one of them is
/// under way.
class ApiContext {
 public:
  explicit ApiContext(const ZVAPIService::Collaborators& given)
      : session(given.session),
        mainQueue(given.mainQueue),
        notifications(given.notifications),
        clock(given.clock) {}

  const std::shared_ptr<HttpSession> session;
  /// The service's. An answer that waits in the queue holds the context, which must not hold the
  /// queue in turn: nobody could free either.
  const std::weak_ptr<Queue> mainQueue;
  const std::shared_ptr<NotificationCentre> notifications;
  const std::shared_ptr<Clock> clock;
  std::atomic<bool> serviceIsGone{false};
  std::atomic<ZVAPIService::APILogLevel> serviceLogLevel{ZVAPIService::APILogLevel::simple};

  [[nodiscard]] std::shared_ptr<ZVSessionSource> sessionSource() const;
  void setSessionSource(std::weak_ptr<ZVSessionSource> source);

  /// `Accept`, and `Authorization` (RFC 6750) while there is an access token.
  [[nodiscard]] std::vector<HttpHeader> commonHeaders() const;
  /// The session is over: nobody is signed in any more. Posts nothing.
  void endSession() const;

  void enter(const std::shared_ptr<Exchange>& exchange);
  void leave(Exchange* exchange);
  [[nodiscard]] std::vector<std::shared_ptr<Exchange>> underWay() const;

 private:
  mutable std::mutex mutex_;  // guards what follows
  std::weak_ptr<ZVSessionSource> sessionSource_;
  std::unordered_map<Exchange*, std::weak_ptr<Exchange>> exchanges_;
};

}  // namespace zavelo::detail

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/api/api_result.hpp"
#include "zavelo/api/call_observer.hpp"
#include "zavelo/api/endpoint_request.hpp"
#include "zavelo/api/envelope_sink.hpp"
#include "zavelo/api/multi_part_data.hpp"
#include "zavelo/api/session_source.hpp"
#include "zavelo/base/call.hpp"
#include "zavelo/json/value.hpp"
#include "zavelo/models/user.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/http_session.hpp"
#include "zavelo/platform/notification_centre.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

namespace detail {
class ApiContext;
class EnvelopeSink;
}  // namespace detail

/// How a session is renewed after a 401.
enum class ZVSessionPolicy {
  /// Each call that meets 401 renews the session on its own; a renewal that fails for whatever
  /// reason ends the session; a call that is sent again keeps no file parts, uses JSON and logs in
  /// full.
  asSpecified,
  /// Made for bad networks and single-use refresh tokens:
  /// - calls that meet 401 together share one renewal, and a call whose token was replaced
  ///   meanwhile is sent again without one;
  /// - a renewal without an answer, or with a status of 5xx, fails its calls and keeps the session;
  /// - a renewal that brings no access token has failed, and overwrites nothing;
  /// - a call is sent again as it was: with its files, its encoding and its log level;
  /// - a reply with code 603 or 1341 ends the session even if its `data` does not decode.
  resilient
};

/// The one HTTP client of the backend: sends calls with the session's access token, renews the
/// session when the backend answers 401, decodes the envelope and logs the exchange.
///
/// Calls may be made from any thread. Completions and notifications arrive on the main queue.
class ZAVELO_EXPORT ZVAPIService : public std::enable_shared_from_this<ZVAPIService> {
 public:
  using APILogLevel = ZVAPILogLevel;

  struct Collaborators {
    std::shared_ptr<HttpSession> session = {};
    std::shared_ptr<Queue> mainQueue = {};
    std::shared_ptr<NotificationCentre> notifications = {};
    std::shared_ptr<Clock> clock = {};
  };

  [[nodiscard]] static std::shared_ptr<ZVAPIService> create(const Collaborators& collaborators);
  /// The service that the shared services use.
  [[nodiscard]] static const std::shared_ptr<ZVAPIService>& sharedInstance();

  /// Calls under way end at once with `error(noConnection, …)`.
  ~ZVAPIService();
  ZVAPIService(const ZVAPIService&) = delete;
  ZVAPIService& operator=(const ZVAPIService&) = delete;

  /// Calls the backend; `completion` is called exactly once.
  ///
  /// The call belongs to the session in which it is made. If that session is over when the reply
  /// arrives, a 401 completes the call with `unauthorized`, and neither a 401 nor a code that ends
  /// a session touches the session that is current by then.
  template <class T>
  ZVAPICall<T> request(ZVEndpointRequest request, ZVCompletion<T> completion);

  /// The same with the fields of the record one by one. `multipartData` counts only with
  /// `isMultiPart`; callers pass 0 as `retryCount`.
  template <class T>
  ZVAPICall<T> request(std::string url, ZVHTTPMethod method, std::optional<json::Object> parameters,
                       ZVParameterEncoding encoding, int retryCount,
                       std::vector<ZVMultiPartData> multipartData, bool isMultiPart,
                       APILogLevel apiLogLevel, ZVCompletion<T> completion);

  /// Buys new tokens. Does not store them. The exchange is never cut short, as it may spend the
  /// refresh token: cancelling answers the caller, and the service's end lets it finish.
  ZVAPICall<std::shared_ptr<const ZVRefreshToken>> refreshToken(
      const std::string& refreshToken,
      ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion);

  /// The owner of the session; until it is set, and after it was destroyed, no user is signed in.
  void setSessionSource(std::weak_ptr<ZVSessionSource> source);

  /// The level at which the services of the library log their calls: `simple` at first.
  [[nodiscard]] APILogLevel serviceLogLevel() const noexcept;
  void setServiceLogLevel(APILogLevel level) noexcept;

  /// How sessions are renewed: `asSpecified` at first.
  [[nodiscard]] ZVSessionPolicy sessionPolicy() const noexcept;
  void setSessionPolicy(ZVSessionPolicy policy) noexcept;

  /// Receives a report of each call that begins from now on; null: none. An app without an observer
  /// pays nothing.
  void setCallObserver(std::shared_ptr<ZVCallObserver> observer);
  /// Whether calls carry a `traceparent` header (W3C Trace Context) with a random trace id, by
  /// which the backend's records and the observer's reports can be put together; false at first. A
  /// call with a header of its own by that name keeps it.
  void setTracing(bool isTracing) noexcept;

  /// Calls that have not completed yet, renewals included: what an app waits for before it sleeps.
  [[nodiscard]] std::size_t callsUnderWay() const;

  [[nodiscard]] const std::shared_ptr<HttpSession>& session() const noexcept;
  /// Where completions arrive.
  [[nodiscard]] const std::shared_ptr<Queue>& mainQueue() const noexcept { return mainQueue_; }
  [[nodiscard]] const std::shared_ptr<NotificationCentre>& notifications() const noexcept;

 private:
  explicit ZVAPIService(const Collaborators& collaborators);
  ZVCall start(ZVEndpointRequest request, std::unique_ptr<detail::EnvelopeSink> sink);

  const std::shared_ptr<Queue> mainQueue_;
  const std::shared_ptr<detail::ApiContext> context_;
};

template <class T>
ZVAPICall<T> ZVAPIService::request(ZVEndpointRequest request, ZVCompletion<T> completion) {
  return detail::beginCall(mainQueue_, std::move(completion), [&](ZVCompletion<T> answer) {
    return start(std::move(request), detail::envelopeSink<T>(std::move(answer)));
  });
}

template <class T>
ZVAPICall<T> ZVAPIService::request(std::string url, ZVHTTPMethod method,
                                   std::optional<json::Object> parameters,
                                   ZVParameterEncoding encoding, int retryCount,
                                   std::vector<ZVMultiPartData> multipartData, bool isMultiPart,
                                   APILogLevel apiLogLevel, ZVCompletion<T> completion) {
  ZVEndpointRequest record{.endpoint = {std::move(url), method},
                           .parameters = std::move(parameters),
                           .encoding = encoding,
                           .logLevel = apiLogLevel,
                           .retryCount = retryCount};
  if (isMultiPart) record.files = std::move(multipartData);
  return request<T>(std::move(record), std::move(completion));
}

}  // namespace zavelo

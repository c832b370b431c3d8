#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/api/api_result.hpp"
#include "zavelo/api/call_options.hpp"
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
struct ApiRequest;
}  // namespace detail

/// How parameters travel: as a JSON body; or URL-encoded, in the query of GET, HEAD and DELETE
/// (before a fragment) and as an application/x-www-form-urlencoded body of the others.
///
/// URL-encoded are names and values percent-encoded but for letters, digits and "-._~" (RFC 3986
/// section 2.3; a blank is %20, not "+"). A flag is 1 or 0, null is "null", the elements of a list
/// go under "name[]", the members of an object under "name[member]".
enum class ZVParameterEncoding { json, url };

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
  /// How much of an exchange is logged. Tokens and passwords stand only in `full`.
  enum class APILogLevel { none, simple, full };

  struct Collaborators {
    std::shared_ptr<HttpSession> session;
    std::shared_ptr<Queue> mainQueue;
    std::shared_ptr<NotificationCentre> notifications;
    std::shared_ptr<Clock> clock;
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
  /// `retryCount` is how many renewals the call has been through (callers pass 0). With
  /// `isMultiPart` the parameters become form fields beside `multipartData`.
  ///
  /// The call belongs to the session in which it is made. If that session is over when the reply
  /// arrives, a 401 completes the call with `unauthorized`, and neither a 401 nor a code that ends
  /// a session touches the session that is current by then.
  template <class T>
  ZVCall request(std::string url, ZVHTTPMethod method, std::optional<json::Object> parameters,
                 ZVParameterEncoding encoding, int retryCount,
                 std::vector<ZVMultiPartData> multipartData, bool isMultiPart,
                 APILogLevel apiLogLevel, ZVCompletion<T> completion);

  /// The same with a deadline, progress, headers of its own or another reply limit.
  template <class T>
  ZVCall request(std::string url, ZVHTTPMethod method, std::optional<json::Object> parameters,
                 ZVParameterEncoding encoding, int retryCount,
                 std::vector<ZVMultiPartData> multipartData, bool isMultiPart,
                 APILogLevel apiLogLevel, ZVCallOptions options, ZVCompletion<T> completion);

  /// Buys new tokens. Does not store them. The exchange is never cut short, as it may spend the
  /// refresh token: cancelling answers the caller, and the service's end lets it finish.
  ZVCall refreshToken(const std::string& refreshToken,
                      ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion);

  /// The owner of the session; until it is set, and after it was destroyed, no user is signed in.
  void setSessionSource(std::weak_ptr<ZVSessionSource> source);

  /// The level at which the services of the library log their calls: `simple` at first.
  [[nodiscard]] APILogLevel serviceLogLevel() const noexcept;
  void setServiceLogLevel(APILogLevel level) noexcept;

  /// How sessions are renewed: `asSpecified` at first.
  [[nodiscard]] ZVSessionPolicy sessionPolicy() const noexcept;
  void setSessionPolicy(ZVSessionPolicy policy) noexcept;

  /// Calls that have not completed yet, renewals included: what an app waits for before it sleeps.
  [[nodiscard]] std::size_t callsUnderWay() const;

  [[nodiscard]] const std::shared_ptr<HttpSession>& session() const noexcept;
  /// Where completions arrive.
  [[nodiscard]] const std::shared_ptr<Queue>& mainQueue() const noexcept { return mainQueue_; }
  [[nodiscard]] const std::shared_ptr<NotificationCentre>& notifications() const noexcept;

 private:
  explicit ZVAPIService(const Collaborators& collaborators);
  ZVCall start(detail::ApiRequest request, std::unique_ptr<detail::EnvelopeSink> sink);

  const std::shared_ptr<Queue> mainQueue_;
  const std::shared_ptr<detail::ApiContext> context_;
};

namespace detail {

/// A call as the caller worded it.
struct ApiRequest {
  std::string url;
  ZVHTTPMethod method = ZVHTTPMethod::post;
  std::optional<json::Object> parameters;
  ZVParameterEncoding encoding = ZVParameterEncoding::json;
  int retryCount = 0;
  std::vector<ZVMultiPartData> multipartData;
  bool isMultiPart = false;
  ZVAPIService::APILogLevel logLevel = ZVAPIService::APILogLevel::simple;
  bool isRenewal = false;  ///< it buys new tokens: a 401 does not lead to another renewal
  ZVCallOptions options = {};
};

}  // namespace detail

template <class T>
ZVCall ZVAPIService::request(std::string url, ZVHTTPMethod method,
                             std::optional<json::Object> parameters, ZVParameterEncoding encoding,
                             int retryCount, std::vector<ZVMultiPartData> multipartData,
                             bool isMultiPart, APILogLevel apiLogLevel,
                             ZVCompletion<T> completion) {
  return request<T>(std::move(url), method, std::move(parameters), encoding, retryCount,
                    std::move(multipartData), isMultiPart, apiLogLevel, ZVCallOptions(),
                    std::move(completion));
}

template <class T>
ZVCall ZVAPIService::request(std::string url, ZVHTTPMethod method,
                             std::optional<json::Object> parameters, ZVParameterEncoding encoding,
                             int retryCount, std::vector<ZVMultiPartData> multipartData,
                             bool isMultiPart, APILogLevel apiLogLevel, ZVCallOptions options,
                             ZVCompletion<T> completion) {
  return start({.url = std::move(url),
                .method = method,
                .parameters = std::move(parameters),
                .encoding = encoding,
                .retryCount = retryCount,
                .multipartData = std::move(multipartData),
                .isMultiPart = isMultiPart,
                .logLevel = apiLogLevel,
                .options = std::move(options)},
               detail::envelopeSink<T>(std::move(completion)));
}

}  // namespace zavelo

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/api/api.hpp"
#include "zavelo/api/multi_part_data.hpp"
#include "zavelo/json/value.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo {

/// How parameters travel: as a JSON body; or URL-encoded, in the query of GET, HEAD and DELETE
/// (before a fragment) and as an application/x-www-form-urlencoded body of the others.
///
/// URL-encoded are names and values percent-encoded but for letters, digits and "-._~" (RFC 3986
/// section 2.3; a blank is %20, not "+"). A flag is 1 or 0, null is "null", the elements of a list
/// go under "name[]", the members of an object under "name[member]".
enum class ZVParameterEncoding { json, url };

/// How much of an exchange is logged. Tokens and passwords appear only in `full`.
enum class ZVAPILogLevel { none, simple, full };

/// Where a call goes: an endpoint of the backend, or an address of the app's own.
struct ZVEndpoint {
  ZVEndpoint(const ZVAPIDataSource& source) : url(source.url()), method(source.method()) {}
  ZVEndpoint(ZVAPI::Case endpoint) : ZVEndpoint(ZVAPI(endpoint)) {}
  ZVEndpoint(std::string address, ZVHTTPMethod how) : url(std::move(address)), method(how) {}

  std::string url;
  ZVHTTPMethod method;
};

/// One call of the API service. Only the endpoint is needed:
///
///     service->request<ZVSentGift>({.endpoint = ZVAPI::sendGift,
///                                   .parameters = json::Object{{"slug", slug}, {"giftId", 3}},
///                                   .deadline = std::chrono::seconds(10)},
///                                  [](ZVAPIResult<ZVSentGift> result) { ... });
struct ZVEndpointRequest {
  ZVEndpoint endpoint;
  /// Absent: a request without a body.
  std::optional<json::Object> parameters = {};
  ZVParameterEncoding encoding = ZVParameterEncoding::json;
  /// Present, even if empty: the call is a multipart form, with the parameters as fields beside
  /// these files.
  std::optional<std::vector<ZVMultiPartData>> files = {};
  /// Absent: as the service logs its calls (`ZVAPIService::serviceLogLevel`).
  std::optional<ZVAPILogLevel> logLevel = {};
  /// From the call to its answer, the wait for a connection and a renewal of the session included;
  /// then the call ends with an error that says so. The renewal itself goes on. Absent: as long as
  /// bytes move.
  std::optional<std::chrono::milliseconds> deadline = {};
  /// Called as the request's body leaves, on the main queue and before the completion: a few times
  /// a second, and once with sent == total when everything was sent. A call that is sent again
  /// after a renewal begins anew. Never called for a request without a body.
  std::function<void(const HttpUpload&)> onProgress = {};
  /// Sent beside the library's own headers and in place of those of the same name. `Authorization`
  /// and `Content-Type` are left out: they belong to the session and to the encoding.
  std::vector<HttpHeader> headers = {};
  /// A longer reply, measured after decompression, is an error. Absent: the HTTP session's limit.
  std::optional<std::size_t> replyLimit = {};
  /// How many renewals the call has been through.
  int retryCount = 0;
};

}  // namespace zavelo

#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "zavelo/platform/curl_reply_internal.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

/// "host" or "host:port", for a person. Never the credentials or the query of the address.
[[nodiscard]] std::string hostOf(const std::string& url);

/// Scheme, host and port (RFC 6454): who an `Authorization` header is meant for.
[[nodiscard]] bool sameOrigin(const std::string& a, const std::string& b);

/// What a machine may have run out of.
enum class CurlResource { memory, thread, descriptor };

/// How a transfer ended that did not bring a whole reply.
struct CurlEnding {
  int code = 0;             ///< CURLcode
  long systemError = 0;     ///< errno of a failed connect or 0
  std::string_view detail;  ///< curl's own words
  CurlReplyPart received = CurlReplyPart::nothing;
};

[[nodiscard]] HttpFailure curlFailure(const CurlEnding& ending, const std::string& url);

[[nodiscard]] HttpFailure closedFailure(const std::string& url);
[[nodiscard]] HttpFailure cancelledFailure(const std::string& url);
[[nodiscard]] HttpFailure resourceFailure(const std::string& url, CurlResource missing);
[[nodiscard]] HttpFailure deadlineFailure(const std::string& url,
                                          std::chrono::milliseconds deadline, bool waiting);

}  // namespace zavelo::detail

#pragma once

#include <string>
#include <string_view>

#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

/// "host" or "host:port", for a person. Never the credentials or the query of the address.
[[nodiscard]] std::string hostOf(const std::string& url);

/// Scheme, host and port (RFC 6454): who an `Authorization` header is meant for.
[[nodiscard]] bool sameOrigin(const std::string& a, const std::string& b);

/// What a CURLcode of a transfer to `url` means. `systemError` is the errno of a failed connect or
/// 0, `detail` curl's own words.
[[nodiscard]] HttpFailure curlFailure(int code, const std::string& url, long systemError,
                                      std::string_view detail);

[[nodiscard]] HttpFailure cancelledFailure(const std::string& url);

}  // namespace zavelo::detail

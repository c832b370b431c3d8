#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "zavelo/platform/curl_failure_internal.hpp"
#include "zavelo/platform/curl_reply_internal.hpp"
#include "zavelo/platform/curl_request_internal.hpp"

namespace zavelo::detail {

namespace {

void removeHeaders(std::vector<HttpHeader>& headers,
                   std::initializer_list<std::string_view> names) {
  std::erase_if(headers, [&](const HttpHeader& header) {
    return std::any_of(names.begin(), names.end(),
                       [&](auto name) { return sameHeaderName(header.name, name); });
  });
}

/// The request becomes a GET without a body.
bool dropsBody(const HttpRequest& request, int status) {
  const bool isRead = request.method == ZVHTTPMethod::get || request.method == ZVHTTPMethod::head;
  const bool movedPost = (status == 301 || status == 302) && request.method == ZVHTTPMethod::post;
  return movedPost || (status == 303 && !isRead);
}

bool isSecure(std::string_view url) {
  constexpr std::string_view secure = "https:";
  return sameHeaderName(url.substr(0, secure.size()), secure);
}

}  // namespace

std::optional<std::string> redirectProblem(const HttpRequest& request, int status,
                                           const std::string& url) {
  if (isSecure(request.url) && !isSecure(url)) {
    return hostOf(request.url) + " redirects from https to " + hostOf(url) +
           " without encryption, which is refused";
  }
  const bool hasBody = request.body.index() != 0 && !dropsBody(request, status);
  if (hasBody && !sameOrigin(request.url, url)) {
    return hostOf(request.url) + " redirects a request with a body to another origin, " +
           hostOf(url) + ", which is refused";
  }
  return std::nullopt;
}

void redirect(HttpRequest& request, int status, std::string url) {
  if (dropsBody(request, status)) {
    request.method = ZVHTTPMethod::get;
    request.body = std::monostate();
    removeHeaders(request.headers,
                  {"Content-Encoding", "Content-Language", "Content-Location", "Content-Type"});
  }
  if (!sameOrigin(request.url, url)) {
    removeHeaders(request.headers, {"Authorization", "Cookie", "Proxy-Authorization"});
  }
  request.url = std::move(url);
}

}  // namespace zavelo::detail

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

}  // namespace

void redirect(HttpRequest& request, int status, std::string url) {
  const bool isRead = request.method == ZVHTTPMethod::get || request.method == ZVHTTPMethod::head;
  const bool movedPost = (status == 301 || status == 302) && request.method == ZVHTTPMethod::post;
  if (movedPost || (status == 303 && !isRead)) {
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

#include <curl/curl.h>

#include "zavelo/platform/curl_attempts_internal.hpp"

namespace zavelo::detail {

void CurlAttempts::begin(ZVHTTPMethod method) {
  *this = CurlAttempts();
  idempotent_ = method != ZVHTTPMethod::post && method != ZVHTTPMethod::patch &&
                method != ZVHTTPMethod::connect;
}

bool CurlAttempts::mayStart(void* easy) {
  long bytes = 0;
  long connections = 0;
  curl_easy_getinfo(easy, CURLINFO_REQUEST_SIZE, &bytes);
  curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &connections);
  // On a new connection curl repeats only what the server has refused to look at (RFC 9113 sections
  // 7 and 8.7). On a kept-alive one a refusal looks to us like the connection's end.
  const bool untouched = bytes == bytesSent_ || onNewConnection_;
  bool may = true;
  if (started_ && !untouched) {
    may = idempotent_ && !repeated_;
    repeated_ = true;
  }
  onNewConnection_ = connections > connections_;
  started_ = true;
  bytesSent_ = bytes;
  connections_ = connections;
  refused_ = !may;
  return may;
}

}  // namespace zavelo::detail

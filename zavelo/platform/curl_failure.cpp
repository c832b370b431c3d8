#include <curl/curl.h>

#include <array>
#include <cstring>
#include <memory>

#include "zavelo/platform/curl_failure_internal.hpp"

namespace zavelo::detail {

namespace {

using Kind = HttpFailure::Kind;

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

Url parsed(const std::string& url) {
  Url handle(curl_url(), &curl_url_cleanup);
  if (handle && curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
    handle.reset();
  }
  return handle;
}

/// Empty when the address has no such part.
std::string part(const Url& url, CURLUPart which, unsigned flags = 0) {
  char* text = nullptr;
  if (!url || curl_url_get(url.get(), which, &text, flags) != CURLUE_OK) return {};
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
  return text;
}

/// The system's text for an errno, in English whatever the process locale.
std::string systemText(long error) {
#if defined(__GLIBC__)
  const char* text = strerrordesc_np(static_cast<int>(error));
#else
  const char* text = std::strerror(static_cast<int>(error));
#endif
  return text ? text : "system error " + std::to_string(error);
}

std::string joined(std::string sentence, std::string_view detail) {
  return detail.empty() ? sentence : sentence.append(": ").append(detail);
}

}  // namespace

std::string hostOf(const std::string& url) {
  const Url address = parsed(url);
  const auto host = part(address, CURLUPART_HOST);
  if (host.empty()) return "a malformed address";
  const auto port = part(address, CURLUPART_PORT);
  return port.empty() ? host : host + ":" + port;
}

bool sameOrigin(const std::string& a, const std::string& b) {
  const Url first = parsed(a);
  const Url second = parsed(b);
  if (!first || !second) return false;
  constexpr std::array parts{CURLUPART_SCHEME, CURLUPART_HOST, CURLUPART_PORT};
  for (const auto which : parts) {
    if (part(first, which, CURLU_DEFAULT_PORT) != part(second, which, CURLU_DEFAULT_PORT)) {
      return false;
    }
  }
  return true;
}

HttpFailure curlFailure(int code, const std::string& url, long systemError,
                        std::string_view detail) {
  const std::string host = hostOf(url);
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return {Kind::unreachable, "cannot find the host " + host};
    case CURLE_COULDNT_RESOLVE_PROXY:
      return {Kind::unreachable, "cannot find the proxy on the way to " + host};
    case CURLE_COULDNT_CONNECT:
      return {Kind::unreachable,
              joined("cannot connect to " + host, systemError ? systemText(systemError) : "")};
    case CURLE_OPERATION_TIMEDOUT:
      return {Kind::timedOut, "no answer from " + host + " in time"};
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return {Kind::untrusted, joined("the certificate of " + host + " is not trusted", detail)};
    case CURLE_SSL_CONNECT_ERROR:
      return {Kind::unreachable, joined("no secure connection to " + host, detail)};
    case CURLE_URL_MALFORMAT:
    case CURLE_BAD_FUNCTION_ARGUMENT:
      return {Kind::invalidRequest, joined("cannot send a request to " + host, detail)};
    case CURLE_GOT_NOTHING:
      return {Kind::broken, host + " closed the connection without an answer"};
    case CURLE_OUT_OF_MEMORY:
      return {Kind::broken, "not enough memory for the reply of " + host};
    default:
      return {Kind::broken,
              joined("the connection to " + host + " broke",
                     detail.empty() ? curl_easy_strerror(static_cast<CURLcode>(code)) : detail)};
  }
}

HttpFailure cancelledFailure(const std::string& url) {
  return {Kind::cancelled, "the request to " + hostOf(url) + " was cancelled"};
}

}  // namespace zavelo::detail

#include <curl/curl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

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

/// What an errno says to be missing.
std::optional<CurlResource> missingResource(long error) {
  if (error == EMFILE || error == ENFILE) return CurlResource::descriptor;
  if (error == ENOMEM || error == ENOBUFS) return CurlResource::memory;
  return std::nullopt;
}

/// What is missing just now for one more descriptor.
std::optional<CurlResource> missingForDescriptor() {
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (probe < 0) return missingResource(errno);
  close(probe);
  return std::nullopt;
}

HttpFailure lookupFailure(const std::string& url, std::string sentence, std::string_view detail) {
  if (const auto missing = missingForDescriptor()) return resourceFailure(url, *missing);
  // The only sign of it that curl gives.
  if (detail.find("thread failed to start") != std::string_view::npos)
    return resourceFailure(url, CurlResource::thread);
  return {Kind::unreachable, std::move(sentence)};
}

/// "127.0.0.1:3128" out of curl's "Failed to connect to 127.0.0.1 port 3128 after 0 ms: ...". Curl
/// has no other way to say that it was a proxy, not the host, that it could not reach.
std::string triedHost(std::string_view detail) {
  constexpr std::string_view opening = "Failed to connect to ";
  constexpr std::string_view middle = " port ";
  const auto port = detail.find(middle);
  if (!detail.starts_with(opening) || port == std::string_view::npos) return {};
  const auto digits = port + middle.size();
  const auto end = detail.find_first_not_of("0123456789", digits);
  return std::string(detail.substr(opening.size(), port - opening.size()))
      .append(":")
      .append(detail.substr(digits, end - digits));
}

HttpFailure connectFailure(const std::string& url, long systemError, std::string_view detail) {
  if (const auto missing = missingResource(systemError)) return resourceFailure(url, *missing);
  const std::string why = systemError ? systemText(systemError) : "";
  const Url address = parsed(url);
  const auto direct =
      part(address, CURLUPART_HOST) + ":" + part(address, CURLUPART_PORT, CURLU_DEFAULT_PORT);
  const auto tried = triedHost(detail);
  if (tried.empty() || sameHeaderName(tried, direct))
    return {Kind::unreachable, joined("cannot connect to " + hostOf(url), why)};
  return {Kind::unreachable,
          joined("cannot connect to the proxy " + tried + " on the way to " + hostOf(url), why)};
}

HttpFailure brokenFailure(const CurlEnding& ending, const std::string& url) {
  constexpr std::string_view refusedTunnel = "CONNECT tunnel failed, response ";
  const auto detail = ending.detail;
  if (detail.starts_with(refusedTunnel)) {
    return {Kind::unreachable, "the proxy refuses to connect to " + hostOf(url) + ": status " +
                                   std::string(detail.substr(refusedTunnel.size()))};
  }
  const auto* words = curl_easy_strerror(static_cast<CURLcode>(ending.code));
  const auto why = detail.empty() ? std::string_view(words) : detail;
  switch (ending.received) {
    case CurlReplyPart::header:
      return {Kind::broken,
              "the connection to " + hostOf(url) + " broke inside the header of the reply"};
    case CurlReplyPart::body:
      return {
          Kind::broken,
          joined("the connection to " + hostOf(url) + " broke inside the body of the reply", why)};
    case CurlReplyPart::nothing:
      break;
  }
  const bool closed = ending.code == CURLE_GOT_NOTHING || ending.code == CURLE_RECV_ERROR ||
                      ending.code == CURLE_SEND_ERROR || ending.code == CURLE_PARTIAL_FILE;
  if (closed) return closedFailure(url);
  return {Kind::broken, joined("the connection to " + hostOf(url) + " broke", why)};
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
    // Names of hosts and schemes are the same in either case (RFC 3986 section 6.2.2.1).
    if (!sameHeaderName(part(first, which, CURLU_DEFAULT_PORT),
                        part(second, which, CURLU_DEFAULT_PORT))) {
      return false;
    }
  }
  return true;
}

HttpFailure curlFailure(const CurlEnding& ending, const std::string& url) {
  const std::string host = hostOf(url);
  const auto [code, systemError, detail, received] = ending;
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return lookupFailure(url, "cannot find the host " + host, detail);
    case CURLE_COULDNT_RESOLVE_PROXY:
      return lookupFailure(url, "cannot find the proxy on the way to " + host, detail);
    case CURLE_COULDNT_CONNECT:
      return connectFailure(url, systemError, detail);
    case CURLE_OPERATION_TIMEDOUT:
      return {Kind::timedOut, "no answer from " + host + " in time"};
    case CURLE_SSL_CACERT_BADFILE:
      if (const auto missing = missingForDescriptor()) return resourceFailure(url, *missing);
      [[fallthrough]];
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return {Kind::untrusted, joined("the certificate of " + host + " is not trusted", detail)};
    case CURLE_SSL_CONNECT_ERROR:
      return {Kind::unreachable, joined("no secure connection to " + host, detail)};
    case CURLE_URL_MALFORMAT:
    case CURLE_BAD_FUNCTION_ARGUMENT:
      return {Kind::invalidRequest, joined("cannot send a request to " + host, detail)};
    case CURLE_BAD_CONTENT_ENCODING:
      return {Kind::broken, "the reply of " + host + " cannot be unpacked: its bytes are damaged"};
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
      return {Kind::broken, joined(host + " does not answer in HTTP", detail)};
    case CURLE_OUT_OF_MEMORY:
      return resourceFailure(url, CurlResource::memory);
    default:
      return brokenFailure(ending, url);
  }
}

HttpFailure closedFailure(const std::string& url) {
  return {Kind::broken, "the connection was closed before the answer of " + hostOf(url)};
}

HttpFailure resourceFailure(const std::string& url, CurlResource missing) {
  const std::string request = " for the request to " + hostOf(url);
  switch (missing) {
    case CurlResource::thread:
      return {Kind::noResources, "no thread could be started" + request};
    case CurlResource::descriptor:
      return {Kind::noResources, "no descriptor left" + request + ": too many files are open"};
    case CurlResource::memory:
      break;
  }
  return {Kind::noResources, "not enough memory" + request};
}

HttpFailure deadlineFailure(const std::string& url, std::chrono::milliseconds deadline,
                            bool waiting) {
  return {Kind::timedOut, joined("no answer from " + hostOf(url) + " within the deadline of " +
                                     std::to_string(deadline.count()) + " ms",
                                 waiting ? "the request was still waiting for a connection" : "")};
}

HttpFailure cancelledFailure(const std::string& url) {
  return {Kind::cancelled, "the request to " + hostOf(url) + " was cancelled"};
}

}  // namespace zavelo::detail

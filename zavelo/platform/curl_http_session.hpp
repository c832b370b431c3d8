#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "zavelo/platform/http_session.hpp"

namespace zavelo {

namespace detail {
class CurlLoop;
}

/// How the default session connects.
struct CurlHttpOptions {
  /// A transfer that moves no byte for so long has timed out; connecting may take as long.
  std::chrono::milliseconds idleTimeout{60'000};
  /// A connection that was idle for longer, by full seconds, is not used again: a server that
  /// closes it just when a request is on its way would fail that request. Common servers keep
  /// connections for 5 seconds or more.
  std::chrono::seconds connectionReuse{3};
  /// A PEM file of certificate authorities to trust instead of the system's. Empty: the system's.
  std::string certificateAuthorities = {};
};

/// The default session: one thread that runs all transfers over kept-alive connections, HTTP/2
/// where the server offers it (RFC 9113), compressed replies, verified TLS, and the library's name
/// and version as `User-Agent` unless the request has its own.
///
/// A request is sent once: if its connection ends before the answer, it fails with `broken`, as the
/// server may have acted on it. Sent a second time is only what cannot do anything twice: a request
/// of which no byte has left, one that an HTTP/2 server refused on a new connection, and, where a
/// kept-alive connection ended, a method that may be repeated (RFC 9110 section 9.2.2: any but POST
/// and PATCH).
///
/// Redirects are followed as browsers do, but not from https to http, nor with a body to another
/// origin. `Authorization` never travels to another origin.
///
/// Destroying it, or the process's normal exit, ends each pending request with `cancelled`. What is
/// sent after that is answered so at once, on the thread that sends.
class ZAVELO_EXPORT CurlHttpSession final : public HttpSession {
 public:
  explicit CurlHttpSession(CurlHttpOptions options = {});
  ~CurlHttpSession() override;
  CurlHttpSession(const CurlHttpSession&) = delete;
  CurlHttpSession& operator=(const CurlHttpSession&) = delete;

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) override;

 private:
  std::shared_ptr<detail::CurlLoop> loop_;
};

}  // namespace zavelo

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
  /// A PEM file of certificate authorities to trust instead of the system's. Empty: the system's.
  std::string certificateAuthorities;
};

/// The default session: one thread that runs all transfers over kept-alive connections, HTTP/2
/// where the server offers it (RFC 9113), compressed replies, verified TLS. Redirects are followed
/// as browsers do; `Authorization` never travels to another host.
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

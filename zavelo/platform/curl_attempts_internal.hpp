#pragma once

#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

/// Decides whether curl may send a request (again). When a kept-alive connection dies before the
/// first byte of the reply, curl sends the request once more on a new one; the server may have
/// acted on it, so that is for methods alone that may be repeated (RFC 9110 section 9.2.2).
class CurlAttempts {
 public:
  void begin(ZVHTTPMethod method);
  /// To be asked each time when a connection is there and nothing of this attempt has been sent.
  [[nodiscard]] bool mayStart(void* easy);
  /// The request was not sent again.
  [[nodiscard]] bool refused() const noexcept { return refused_; }

 private:
  bool idempotent_ = false;
  bool started_ = false;
  bool repeated_ = false;
  bool refused_ = false;
  bool onNewConnection_ = false;
  long bytesSent_ = 0;
  long connections_ = 0;
};

}  // namespace zavelo::detail

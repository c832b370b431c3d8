#include "zavelo/platform/curl_http_session.hpp"

#include <utility>

#include "zavelo/platform/curl_loop_internal.hpp"

namespace zavelo {

CurlHttpSession::CurlHttpSession(CurlHttpOptions options)
    : loop_(detail::CurlLoop::create(std::move(options))) {}

CurlHttpSession::~CurlHttpSession() {
  loop_->stop();
}

std::shared_ptr<HttpTask> CurlHttpSession::send(HttpRequest request, HttpReplyHandler done) {
  auto call = std::make_shared<detail::CurlCall>(loop_, std::move(request), std::move(done));
  loop_->add(call);
  return call;
}

}  // namespace zavelo

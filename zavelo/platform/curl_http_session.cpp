#include "zavelo/platform/curl_http_session.hpp"

#include <new>
#include <utility>

#include "zavelo/platform/curl_loop_internal.hpp"

namespace zavelo {

namespace {

class NoTask final : public HttpTask {
 public:
  void cancel() override {}
};

/// A task of a request that is over. Takes no memory.
std::shared_ptr<HttpTask> noTask() {
  static NoTask task;
  return {std::shared_ptr<void>(), &task};
}

}  // namespace

CurlHttpSession::CurlHttpSession(CurlHttpOptions options)
    : loop_(std::make_shared<detail::CurlLoop>(std::move(options))) {}

CurlHttpSession::~CurlHttpSession() {
  loop_->stop();
}

std::shared_ptr<HttpTask> CurlHttpSession::send(HttpRequest request, HttpReplyHandler done) {
  std::shared_ptr<detail::CurlCall> call;
  try {
    loop_->begin();
    call = std::make_shared<detail::CurlCall>(loop_, std::move(request), std::move(done));
  } catch (const std::bad_alloc&) {
    HttpReply reply;
    // Short enough to need no memory itself.
    reply.failure = {HttpFailure::Kind::noResources, "out of memory"};
    done(std::move(reply));
    return noTask();
  }
  loop_->add(call);
  return call;
}

}  // namespace zavelo

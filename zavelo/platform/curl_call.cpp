#include <curl/curl.h>
#include <sys/socket.h>

#include <limits>
#include <utility>

#include "zavelo/platform/curl_call_internal.hpp"
#include "zavelo/platform/curl_failure_internal.hpp"
#include "zavelo/platform/curl_loop_internal.hpp"

namespace zavelo::detail {

namespace {

constexpr int maximumRedirects = 20;  // as browsers

}  // namespace

/// What curl calls during a transfer. No exception may pass through curl.
struct CurlCallbacks {
  static CurlCall& call(void* data) { return *static_cast<CurlCall*>(data); }

  static std::size_t header(char* line, std::size_t size, std::size_t count, void* data) {
    ++call(data).steps_;
    try {
      call(data).gathered_.headerLine({line, size * count});
      return size * count;
    } catch (...) {
      return 0;
    }
  }

  static std::size_t body(char* bytes, std::size_t size, std::size_t count, void* data) {
    ++call(data).steps_;
    curl_off_t announced = -1;
    curl_easy_getinfo(call(data).easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    try {
      return call(data).gathered_.bodyBytes({bytes, size * count}, announced) ? size * count : 0;
    } catch (...) {
      return 0;
    }
  }

  static int resolving(void*, void*, void* data) {
    ++call(data).steps_;
    return 0;
  }

  static curl_socket_t openSocket(void* data, curlsocktype, curl_sockaddr* address) {
    ++call(data).steps_;
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  }

  static int connected(void* data, char*, char*, int, int) {
    ++call(data).steps_;
    return CURL_PREREQFUNC_OK;
  }
};

CurlCall::CurlCall(std::weak_ptr<CurlLoop> loop, HttpRequest request, HttpReplyHandler done)
    : loop_(std::move(loop)), request_(std::move(request)), done_(std::move(done)) {}

void CurlCall::cancel() {
  if (const auto loop = loop_.lock()) loop->cancel(shared_from_this());
}

std::string_view CurlCall::origin() const noexcept {
  const std::string_view url = request_.url;
  const auto scheme = url.find("://");
  if (scheme == std::string_view::npos) return {};
  return url.substr(0, url.find_first_of("/?#", scheme + 3));
}

bool CurlCall::prepare(void* handle, const CurlHttpOptions& options) {
  using Kind = HttpFailure::Kind;
  easy = handle;
  if (!easy) {
    reply_.failure = curlFailure(CURLE_OUT_OF_MEMORY, request_.url, 0, {});
    return false;
  }
  if (const auto problem = requestProblem(request_)) {
    const bool asked = redirects_ == 0;
    reply_ = HttpReply();
    reply_.failure = {asked ? Kind::invalidRequest : Kind::broken,
                      asked ? *problem : "redirected to where no request can go: " + *problem};
    return false;
  }
  curl_easy_reset(easy);
  gathered_.begin(request_.replyLimit);
  errorText_.front() = '\0';
  setOptions(options);
  setCallbacks();
  if (setup_.apply(easy, request_)) return true;
  reply_.failure = curlFailure(CURLE_OUT_OF_MEMORY, request_.url, 0, {});
  return false;
}

void CurlCall::setOptions(const CurlHttpOptions& options) {
  curl_easy_setopt(easy, CURLOPT_URL, request_.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  // A cancelled call does not wait for the name server.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
  static_assert(std::tuple_size_v<decltype(errorText_)> >= CURL_ERROR_SIZE);
  // Curl's own limit would count the time in its queue; `idle` does not.
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long{std::numeric_limits<int>::max()});
  curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, 32L * 1024);
  if (origin().starts_with("http://")) return;
  // Wait for HTTP/2 rather than connect again. Only here: without TLS this
  // would hold requests back until the first one is answered.
  curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
  if (options.certificateAuthorities.empty()) return;
  curl_easy_setopt(easy, CURLOPT_CAINFO, options.certificateAuthorities.c_str());
  curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
}

void CurlCall::setCallbacks() {
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CurlCallbacks::header);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlCallbacks::body);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy, CURLOPT_RESOLVER_START_FUNCTION, &CurlCallbacks::resolving);
  curl_easy_setopt(easy, CURLOPT_RESOLVER_START_DATA, this);
  curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &CurlCallbacks::openSocket);
  curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &CurlCallbacks::connected);
  curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
}

bool CurlCall::ended(int code) {
  long status = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  const bool tooLarge = gathered_.tooLarge();
  reply_ = gathered_.take();
  if (status > 0) reply_.status = static_cast<int>(status);
  if (code == CURLE_OK) return wantsRedirect();
  if (tooLarge) {
    reply_.failure = {HttpFailure::Kind::tooLarge,
                      "the reply of " + hostOf(request_.url) + " is longer than " +
                          std::to_string(request_.replyLimit) + " bytes"};
    return false;
  }
  long systemError = 0;
  curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError);
  // Our callbacks end a transfer for want of memory only.
  if (code == CURLE_WRITE_ERROR) code = CURLE_OUT_OF_MEMORY;
  reply_.failure = curlFailure(code, request_.url, systemError, errorText_.data());
  return false;
}

bool CurlCall::wantsRedirect() {
  const int status = reply_.status.value_or(0);
  const bool moved =
      status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
  const char* target = nullptr;
  if (moved) curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &target);
  if (!target) return false;
  if (++redirects_ > maximumRedirects) {
    reply_.failure = {HttpFailure::Kind::broken,
                      hostOf(request_.url) + " redirected too many times"};
    return false;
  }
  redirect(request_, status, target);
  return true;
}

void CurlCall::answerEnded() {
  answer(std::move(reply_));
}

void CurlCall::answerCancelled() {
  answer(cancelledFailure(request_.url));
}

void CurlCall::answerOutOfMemory() {
  answer(curlFailure(CURLE_OUT_OF_MEMORY, request_.url, 0, {}));
}

void CurlCall::answer(HttpFailure failure) {
  HttpReply reply;
  reply.failure = std::move(failure);
  answer(std::move(reply));
}

void CurlCall::answer(HttpReply reply) noexcept {
  setup_.release();
  request_ = HttpRequest();
  try {
    if (auto done = std::exchange(done_, nullptr)) done(std::move(reply));
  } catch (...) {  // a handler's mistake, and no caller to hear of it
  }
}

bool CurlCall::idle(Time now, std::chrono::milliseconds limit) {
  if (steps_ == 0) return false;
  curl_off_t uploaded = 0;
  curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &uploaded);
  if (steps_ != stepsSeen_ || uploaded != uploadSeen_) {
    stepsSeen_ = steps_;
    uploadSeen_ = uploaded;
    lastSign_ = now;
  }
  return now - lastSign_ >= limit;
}

}  // namespace zavelo::detail

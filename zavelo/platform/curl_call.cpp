#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "zavelo/platform/curl_call_internal.hpp"
#include "zavelo/platform/curl_failure_internal.hpp"
#include "zavelo/platform/curl_loop_internal.hpp"

namespace zavelo::detail {

namespace {

constexpr int maximumRedirects = 20;  // as browsers
constexpr std::chrono::milliseconds uploadReportInterval{100};

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
      call(data).outOfMemory_ = true;
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
      call(data).outOfMemory_ = true;
      return 0;
    }
  }

  static int resolving(void*, void*, void* data) {
    ++call(data).steps_;
    return 0;
  }

  static curl_socket_t openSocket(void* data, curlsocktype, curl_sockaddr* address) {
    ++call(data).steps_;
    const int opened = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (opened < 0) call(data).socketError_ = errno;
    return opened;
  }

  static int connected(void* data, char*, char*, int, int) {
    ++call(data).steps_;
    const bool mayStart = call(data).attempts_.mayStart(call(data).easy);
    return mayStart ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
  }
};

CurlCall::CurlCall(std::weak_ptr<CurlLoop> loop, HttpRequest request, HttpReplyHandler done)
    : loop_(std::move(loop)), request_(std::move(request)), done_(std::move(done)) {
  if (!request_.deadline) return;
  // A deadline beyond what the clock can say is none.
  const auto now = std::chrono::steady_clock::now();
  if (*request_.deadline < std::chrono::duration_cast<std::chrono::milliseconds>(Time::max() - now))
    deadline_ = now + *request_.deadline;
}

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
    reply_.failure = resourceFailure(request_.url, CurlResource::memory);
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
  attempts_.begin(request_.method);
  socketError_ = 0;
  outOfMemory_ = false;
  errorText_.front() = '\0';
  setOptions(options);
  setCallbacks();
  if (setup_.apply(easy, request_)) return true;
  reply_.failure = resourceFailure(request_.url, CurlResource::memory);
  return false;
}

void CurlCall::setOptions(const CurlHttpOptions& options) {
  curl_easy_setopt(easy, CURLOPT_URL, request_.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  // A cancelled call does not wait for the name server.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(easy, CURLOPT_USERAGENT, ZAVELO_USER_AGENT);
  curl_easy_setopt(easy, CURLOPT_MAXAGE_CONN, long{options.connectionReuse.count()});
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
  const auto received = gathered_.part();
  reply_ = gathered_.take();
  if (status > 0) reply_.status = static_cast<int>(status);
  if (request_.isMeasured) reply_.times = measured();
  // Curl takes a connection that ends inside the header for the end of a reply without a body.
  if (code == CURLE_OK && received != CurlReplyPart::body) code = CURLE_RECV_ERROR;
  if (code == CURLE_OK) return wantsRedirect();
  if (tooLarge) {
    reply_.failure = {HttpFailure::Kind::tooLarge,
                      "the reply of " + hostOf(request_.url) + " is longer than " +
                          std::to_string(request_.replyLimit) + " bytes"};
    return false;
  }
  if (attempts_.refused()) {
    reply_.failure = closedFailure(request_.url);
    return false;
  }
  long systemError = socketError_;
  if (systemError == 0) curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError);
  if (outOfMemory_) code = CURLE_OUT_OF_MEMORY;
  reply_.failure = curlFailure({code, systemError, errorText_.data(), received}, request_.url);
  return false;
}

HttpTimes CurlCall::measured() const {
  const auto info = [this](CURLINFO what) {
    curl_off_t value = 0;
    curl_easy_getinfo(easy, what, &value);
    return std::max<curl_off_t>(value, 0);
  };
  const auto since = [](curl_off_t from, curl_off_t to) {
    return std::chrono::microseconds(from > 0 && to > from ? to - from : 0);
  };
  const auto total = info(CURLINFO_TOTAL_TIME_T);
  const auto ready = info(CURLINFO_PRETRANSFER_TIME_T);
  const auto firstByte = info(CURLINFO_STARTTRANSFER_TIME_T);
  const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::steady_clock::now() - start_);
  return {.queued = std::max(passed - std::chrono::microseconds(total), {}),
          .connecting = std::chrono::microseconds(ready > 0 ? ready : total),
          .waiting = since(ready, firstByte),
          .receiving = since(firstByte, total),
          .sentBytes = static_cast<std::uint64_t>(info(CURLINFO_SIZE_UPLOAD_T)),
          .receivedBytes = static_cast<std::uint64_t>(info(CURLINFO_SIZE_DOWNLOAD_T))};
}

void CurlCall::endedAtDeadline() {
  const bool waiting = steps_ == 0;
  if (easy) {
    ended(CURLE_OPERATION_TIMEDOUT);
  } else {
    reply_ = HttpReply();
  }
  reply_.failure = deadlineFailure(request_.url, *request_.deadline, waiting);
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
  if (auto problem = redirectProblem(request_, status, target)) {
    reply_.failure = {HttpFailure::Kind::broken, std::move(*problem)};
    return false;
  }
  redirect(request_, status, target);
  return true;
}

void CurlCall::endedWithout(CurlResource missing) noexcept {
  reply_ = HttpReply();
  try {
    reply_.failure = resourceFailure(request_.url, missing);
  } catch (...) {
    // Short enough to need no memory.
    reply_.failure = {HttpFailure::Kind::noResources, "out of memory"};
  }
}

void CurlCall::answerEnded() noexcept {
  answer(std::move(reply_));
}

void CurlCall::answerCancelled() noexcept {
  try {
    answerFailed(cancelledFailure(request_.url));
  } catch (...) {
    answerFailed({HttpFailure::Kind::cancelled, "cancelled"});
  }
}

void CurlCall::answerFailed(HttpFailure failure) noexcept {
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

void CurlCall::reportUpload(Time now) noexcept {
  curl_off_t sent = 0;
  curl_off_t total = 0;
  curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &sent);
  curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_UPLOAD_T, &total);
  const HttpUpload upload{static_cast<std::uint64_t>(std::max<curl_off_t>(sent, 0)),
                          static_cast<std::uint64_t>(std::max<curl_off_t>(total, 0))};
  // A redirect begins the body anew: what was reported is not taken back.
  if (upload.sent <= uploadReported_.sent) return;
  if (upload.sent != upload.total && now - lastUploadReport_ < uploadReportInterval) return;
  uploadReported_ = upload;
  lastUploadReport_ = now;
  try {
    request_.onUpload(upload);
  } catch (...) {  // a handler's mistake, as above
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

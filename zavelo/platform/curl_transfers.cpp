#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "zavelo/platform/curl_descriptors_internal.hpp"
#include "zavelo/platform/curl_transfers_internal.hpp"

namespace zavelo::detail {

namespace {

/// What browsers allow themselves to one host over HTTP/1.1, roughly.
constexpr long connectionsPerHost = 8;
/// Over HTTP/2 that many requests share a connection; over HTTP/1.1 curl queues the rest.
constexpr std::size_t activePerOrigin = 64;
constexpr std::size_t spareHandleLimit = 16;
constexpr std::size_t quietOriginLimit = 64;
constexpr int idleChecksPerTimeout = 8;
constexpr std::chrono::milliseconds longestWait = std::chrono::hours(1);

/// A multi handle that can be woken. Curl makes one without as well, when it gets no descriptors.
CURLM* newMulti() {
  const UninheritedDescriptors uninherited;
  CURLM* multi = curl_multi_init();
  if (!multi) throw std::bad_alloc();
  if (curl_multi_wakeup(multi) == CURLM_OK) return multi;
  curl_multi_cleanup(multi);
  throw std::system_error(EMFILE, std::generic_category());
}

}  // namespace

CurlTransfers::CurlTransfers(CurlHttpOptions options)
    : options_(std::move(options)), multi_(newMulti()) {
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, connectionsPerHost);
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, 4 * connectionsPerHost);
  try {
    spareHandles_.reserve(spareHandleLimit);
  } catch (...) {
    curl_multi_cleanup(multi_);
    throw;
  }
}

CurlTransfers::~CurlTransfers() {
  for (void* easy : spareHandles_) curl_easy_cleanup(easy);
  curl_multi_cleanup(multi_);
}

void CurlTransfers::add(const Call& call) {
  try {
    CurlOrigin& origin = originOf(*call);
    call->queue = &origin;
    if (const auto deadline = call->deadline()) deadlines_.emplace(*deadline, call);
    origin.waiting.push_back(call);
    startWaiting(origin);
  } catch (const std::bad_alloc&) {
    forget(call);
    call->endedWithout(CurlResource::memory);
    call->answerEnded();
  }
}

CurlOrigin& CurlTransfers::originOf(const CurlCall& call) {
  const auto known = origins_.find(call.origin());
  if (known != origins_.end()) return known->second;
  if (origins_.size() >= quietOriginLimit) {
    std::erase_if(origins_, [](const auto& entry) {
      return entry.second.active == 0 && entry.second.waiting.empty();
    });
  }
  return origins_[std::string(call.origin())];
}

void CurlTransfers::startWaiting(CurlOrigin& origin) noexcept {
  while (!origin.waiting.empty() && origin.active < activePerOrigin) {
    const Call call = std::move(origin.waiting.front());
    origin.waiting.pop_front();
    ++origin.active;
    if (!start(call, takeHandle())) {
      keepHandle(std::exchange(call->easy, nullptr));
      --origin.active;
      forget(call);
      call->answerEnded();
    }
  }
}

bool CurlTransfers::start(const Call& call, void* easy) noexcept {
  try {
    if (!call->prepare(easy, options_)) return false;
    if (call->reportsUpload()) uploads_.push_back(call);
    call->slot = active_.size();
    active_.push_back(call);
  } catch (const std::exception&) {
    call->endedWithout(CurlResource::memory);
    return false;
  }
  starting_ = true;
  if (curl_multi_add_handle(multi_, easy) == CURLM_OK) return true;
  active_.pop_back();
  call->endedWithout(CurlResource::memory);
  return false;
}

void CurlTransfers::cancel(const Call& call) {
  if (call->answered()) return;
  withdraw(call);
  call->answerCancelled();
}

void CurlTransfers::withdraw(const Call& call) {
  forget(call);
  if (call->easy) {
    detach(*call);
    leave(*call);
  } else {
    std::erase(call->queue->waiting, call);
  }
}

void CurlTransfers::forget(const Call& call) noexcept {
  if (const auto deadline = call->deadline()) {
    const auto [first, last] = deadlines_.equal_range(*deadline);
    const auto entry =
        std::find_if(first, last, [&](const auto& each) { return each.second == call; });
    if (entry != last) deadlines_.erase(entry);
  }
  if (call->reportsUpload()) std::erase(uploads_, call);
}

void CurlTransfers::cancelAll() noexcept {
  endAll([](CurlCall& call) { call.answerCancelled(); });
}

void CurlTransfers::failAll() noexcept {
  endAll([](CurlCall& call) {
    call.endedWithout(CurlResource::memory);
    call.answerEnded();
  });
}

// A handler may end everything from inside: each call is out of the lists before it is answered.
template <class Answer>
void CurlTransfers::endAll(Answer answer) noexcept {
  while (!active_.empty()) {
    const Call call = detach(*active_.back());
    keepHandle(std::exchange(call->easy, nullptr));
    --call->queue->active;
    forget(call);
    answer(*call);
  }
  for (auto& [name, origin] : origins_) {
    while (!origin.waiting.empty()) {
      const Call call = std::move(origin.waiting.front());
      origin.waiting.pop_front();
      forget(call);
      answer(*call);
    }
  }
}

CurlTransfers::Call CurlTransfers::detach(CurlCall& call) {
  curl_multi_remove_handle(multi_, call.easy);
  active_.back()->slot = call.slot;
  std::swap(active_[call.slot], active_.back());
  const Call detached = std::move(active_.back());
  active_.pop_back();
  return detached;
}

void CurlTransfers::leave(CurlCall& call) {
  keepHandle(std::exchange(call.easy, nullptr));
  --call.queue->active;
  startWaiting(*call.queue);
}

void* CurlTransfers::takeHandle() {
  if (spareHandles_.empty()) return curl_easy_init();
  void* easy = spareHandles_.back();
  spareHandles_.pop_back();
  return easy;
}

void CurlTransfers::keepHandle(void* easy) {
  if (easy && spareHandles_.size() < spareHandleLimit) {
    spareHandles_.push_back(easy);
  } else {
    curl_easy_cleanup(easy);
  }
}

void CurlTransfers::perform() {
  const std::lock_guard lock(working_);
  // A name may have to be looked up, for which curl opens descriptors.
  std::optional<UninheritedDescriptors> uninherited;
  if (std::exchange(starting_, false)) uninherited.emplace();
  int running = 0;
  curl_multi_perform(multi_, &running);
}

void CurlTransfers::advance() {
  perform();
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const int code = message->data.result;
    char* call = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &call);
    finish(*reinterpret_cast<CurlCall*>(call), code);
  }
  now_ = std::chrono::steady_clock::now();
  reportUploads();
  endLate();
  endIdle();
}

void CurlTransfers::finish(CurlCall& done, int code) {
  const Call call = detach(done);
  bool again = false;
  try {
    if (call->reportsUpload()) call->reportUpload(now_);
    again = call->ended(code);
  } catch (const std::exception&) {
    call->endedWithout(CurlResource::memory);
  }
  std::erase(uploads_, call);
  if (again && start(call, call->easy)) return;
  forget(call);
  leave(*call);
  call->answerEnded();
}

void CurlTransfers::reportUploads() {
  if (uploads_.empty()) return;
  // The one that is reported to may cancel everything.
  const auto uploads = uploads_;
  for (const auto& call : uploads) {
    if (call->easy) call->reportUpload(now_);
  }
}

void CurlTransfers::endLate() {
  while (!deadlines_.empty() && deadlines_.begin()->first <= now_) {
    const Call call = deadlines_.begin()->second;
    try {
      call->endedAtDeadline();
    } catch (const std::exception&) {
      call->endedWithout(CurlResource::memory);
    }
    withdraw(call);
    call->answerEnded();
  }
}

void CurlTransfers::endIdle() {
  if (active_.empty() || now_ < nextIdleCheck_) return;
  nextIdleCheck_ =
      now_ + std::max(options_.idleTimeout / idleChecksPerTimeout, std::chrono::milliseconds(1));
  std::vector<Call> idle;
  for (const auto& call : active_) {
    if (call->idle(now_, options_.idleTimeout)) idle.push_back(call);
  }
  for (const auto& call : idle) {
    if (call->easy) finish(*call, CURLE_OPERATION_TIMEDOUT);
  }
}

void CurlTransfers::wait() {
  auto timeout = longestWait;
  if (!active_.empty()) {
    timeout = std::chrono::ceil<std::chrono::milliseconds>(nextIdleCheck_ - now_);
  }
  if (!deadlines_.empty()) {
    timeout = std::min(
        timeout, std::chrono::ceil<std::chrono::milliseconds>(deadlines_.begin()->first - now_));
  }
  curl_multi_poll(multi_, nullptr, 0,
                  static_cast<int>(std::clamp(timeout, {}, longestWait).count()), nullptr);
}

}  // namespace zavelo::detail

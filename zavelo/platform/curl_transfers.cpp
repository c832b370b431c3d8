#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "zavelo/platform/curl_failure_internal.hpp"
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

}  // namespace

CurlTransfers::CurlTransfers(CurlHttpOptions options)
    : options_(std::move(options)), multi_(curl_multi_init()) {
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, connectionsPerHost);
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, 4 * connectionsPerHost);
}

CurlTransfers::~CurlTransfers() {
  for (void* easy : spareHandles_) curl_easy_cleanup(easy);
  curl_multi_cleanup(multi_);
}

void CurlTransfers::add(const Call& call) {
  try {
    CurlOrigin& origin = originOf(*call);
    call->queue = &origin;
    origin.waiting.push_back(call);
    startWaiting(origin);
  } catch (const std::bad_alloc&) {
    if (!call->answered()) call->answerOutOfMemory();
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

void CurlTransfers::startWaiting(CurlOrigin& origin) {
  while (!origin.waiting.empty() && origin.active < activePerOrigin) {
    const Call call = std::move(origin.waiting.front());
    origin.waiting.pop_front();
    ++origin.active;
    if (!start(call, takeHandle())) {
      keepHandle(std::exchange(call->easy, nullptr));
      --origin.active;
      call->answerEnded();
    }
  }
}

bool CurlTransfers::start(const Call& call, void* easy) {
  if (!call->prepare(easy, options_)) return false;
  call->slot = active_.size();
  active_.push_back(call);
  if (curl_multi_add_handle(multi_, easy) == CURLM_OK) return true;
  active_.pop_back();
  call->ended(CURLE_OUT_OF_MEMORY);
  return false;
}

void CurlTransfers::cancel(const Call& call) {
  if (call->answered()) return;
  if (call->easy) {
    detach(*call);
    leave(*call);
  } else {
    std::erase(call->queue->waiting, call);
  }
  call->answerCancelled();
}

void CurlTransfers::cancelAll() {
  std::vector<Call> all;
  while (!active_.empty()) {
    all.push_back(detach(*active_.back()));
    keepHandle(std::exchange(all.back()->easy, nullptr));
  }
  for (auto& [name, origin] : origins_) {
    origin.active = 0;
    std::move(origin.waiting.begin(), origin.waiting.end(), std::back_inserter(all));
    origin.waiting.clear();
  }
  for (const auto& call : all) call->answerCancelled();
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

void CurlTransfers::advance() {
  int running = 0;
  curl_multi_perform(multi_, &running);
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const int code = message->data.result;
    char* call = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &call);
    finish(*reinterpret_cast<CurlCall*>(call), code);
  }
  endIdle();
}

void CurlTransfers::finish(CurlCall& done, int code) {
  const Call call = detach(done);
  if (call->ended(code) && start(call, call->easy)) return;
  leave(*call);
  call->answerEnded();
}

void CurlTransfers::endIdle() {
  now_ = std::chrono::steady_clock::now();
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
  curl_multi_poll(multi_, nullptr, 0,
                  static_cast<int>(std::clamp(timeout, {}, longestWait).count()), nullptr);
}

}  // namespace zavelo::detail

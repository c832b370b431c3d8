#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "zavelo/platform/curl_call_internal.hpp"

namespace zavelo::detail {

/// The calls to one origin. Handing them to curl a few at a time keeps its rounds short, and one
/// slow server does not hold up the others.
struct CurlOrigin {
  std::size_t active = 0;
  std::deque<std::shared_ptr<CurlCall>> waiting;
};

/// The transfers of a session. For one thread; handlers are called by it, and may end everything
/// from inside.
class CurlTransfers {
 public:
  using Call = std::shared_ptr<CurlCall>;

  explicit CurlTransfers(CurlHttpOptions options);
  ~CurlTransfers();
  CurlTransfers(const CurlTransfers&) = delete;
  CurlTransfers& operator=(const CurlTransfers&) = delete;

  /// Null when memory is short; then nothing else may be called.
  [[nodiscard]] void* multi() const noexcept { return multi_; }

  void add(const Call& call);
  void cancel(const Call& call);
  void cancelAll();
  /// Moves what can be moved and answers what has ended.
  void advance();
  /// Waits for the network, the next time-out, or a `curl_multi_wakeup`.
  void wait();

 private:
  CurlOrigin& originOf(const CurlCall& call);
  bool start(const Call& call, void* easy);
  void startWaiting(CurlOrigin& origin);
  void finish(CurlCall& done, int code);
  /// Takes the call off curl; its handle stays with it.
  Call detach(CurlCall& call);
  /// Frees the call's place for the next one to its origin.
  void leave(CurlCall& call);
  void* takeHandle();
  void keepHandle(void* easy);
  void endIdle();

  const CurlHttpOptions options_;
  void* const multi_;
  std::map<std::string, CurlOrigin, std::less<>> origins_;
  std::vector<Call> active_;
  std::vector<void*> spareHandles_;
  CurlCall::Time now_;
  CurlCall::Time nextIdleCheck_;
};

}  // namespace zavelo::detail

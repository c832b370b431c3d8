#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
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

  /// Throws std::system_error or std::bad_alloc when descriptors or memory are short.
  explicit CurlTransfers(CurlHttpOptions options);
  ~CurlTransfers();
  CurlTransfers(const CurlTransfers&) = delete;
  CurlTransfers& operator=(const CurlTransfers&) = delete;

  [[nodiscard]] void* multi() const noexcept { return multi_; }

  void add(const Call& call);
  void cancel(const Call& call);
  void cancelAll() noexcept;
  /// Answers every call with the want of memory that kept it from going on.
  void failAll() noexcept;
  /// Moves what can be moved and answers what has ended.
  void advance();
  /// Waits for the network, the next time-out, or a `curl_multi_wakeup`.
  void wait();
  /// Held while curl works. A thread that forks takes it, so that no lock of curl or OpenSSL stays
  /// held in the child for ever.
  [[nodiscard]] std::mutex& working() noexcept { return working_; }

 private:
  using Deadlines = std::multimap<CurlCall::Time, Call>;

  CurlOrigin& originOf(const CurlCall& call);
  bool start(const Call& call, void* easy) noexcept;
  void startWaiting(CurlOrigin& origin) noexcept;
  void perform();
  void finish(CurlCall& done, int code);
  /// Takes the call off curl; its handle stays with it.
  Call detach(CurlCall& call);
  /// Frees the call's place for the next one to its origin.
  void leave(CurlCall& call);
  /// Takes a call that has not ended off curl or out of its queue.
  void withdraw(const Call& call);
  /// Removes a call that is about to be answered from the lists below.
  void forget(const Call& call) noexcept;
  template <class Answer>
  void endAll(Answer answer) noexcept;
  void reportUploads();
  void endLate();
  void* takeHandle();
  void keepHandle(void* easy);
  void endIdle();

  const CurlHttpOptions options_;
  void* const multi_;
  std::map<std::string, CurlOrigin, std::less<>> origins_;
  std::vector<Call> active_;
  std::vector<void*> spareHandles_;
  Deadlines deadlines_;
  std::vector<Call> uploads_;  ///< those active ones whose upload is reported
  std::mutex working_;
  bool starting_ = false;  ///< a call was handed to curl, which has not seen it yet
  CurlCall::Time now_;
  CurlCall::Time nextIdleCheck_;
};

}  // namespace zavelo::detail

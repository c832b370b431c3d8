#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "zavelo/platform/curl_transfers_internal.hpp"

namespace zavelo::detail {

/// The thread of a session. Everything that curl or a handler does happens there; other threads
/// only leave commands.
class CurlLoop final : public std::enable_shared_from_this<CurlLoop> {
 public:
  explicit CurlLoop(CurlHttpOptions options) : options_(std::move(options)) {}
  CurlLoop(const CurlLoop&) = delete;
  CurlLoop& operator=(const CurlLoop&) = delete;

  /// Before the first call: initialises curl, which takes an app's start long, and lets the
  /// process's exit know of the loop.
  void begin();
  /// Takes the call in, or answers it at once when the loop has ended or cannot begin.
  void add(const std::shared_ptr<CurlCall>& call);
  void cancel(std::shared_ptr<CurlCall> call);
  /// Ends every call with `cancelled` and waits for the thread, except on the thread itself.
  void stop();

  /// Around a fork, by the thread that forks. In the child the thread and what it worked on are
  /// left as they are, as the parent's connections must not be touched; the next call begins anew.
  void beforeFork();
  void afterForkInParent();
  void afterForkInChild();

 private:
  struct Command {
    enum class Kind { add, cancel } kind;
    std::shared_ptr<CurlCall> call;
  };

  /// Whether a command was taken; if not, and the loop has not ended, what was missing for it.
  struct Taken {
    bool taken = false;
    std::optional<CurlResource> missing = {};
  };
  Taken leave(Command command) noexcept;
  [[nodiscard]] std::optional<CurlResource> startThread();
  void wake();

  // On the loop's own thread:
  void run();
  bool takeCommands();
  void obeyCommands();
  bool mayWait();
  void endAll();

  const CurlHttpOptions options_;
  std::atomic<bool> begun_ = false;

  std::mutex mutex_;
  std::vector<Command> commands_;
  std::thread thread_;
  bool waiting_ = false;  ///< the thread waits in curl, or is about to
  bool ended_ = false;

  std::unique_ptr<CurlTransfers> transfers_;
  std::vector<Command> batch_;
  std::size_t obeyed_ = 0;  ///< commands of the batch that are done
};

}  // namespace zavelo::detail

#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "zavelo/platform/curl_transfers_internal.hpp"

namespace zavelo::detail {

/// The thread of a session. Everything that curl or a handler does happens there; other threads
/// only leave commands.
class CurlLoop final : public std::enable_shared_from_this<CurlLoop> {
 public:
  /// A loop that the process's exit knows of.
  static std::shared_ptr<CurlLoop> create(CurlHttpOptions options);

  explicit CurlLoop(CurlHttpOptions options) : options_(std::move(options)) {}
  CurlLoop(const CurlLoop&) = delete;
  CurlLoop& operator=(const CurlLoop&) = delete;

  /// Takes the call in, or answers it at once when the loop has ended.
  void add(const std::shared_ptr<CurlCall>& call);
  void cancel(std::shared_ptr<CurlCall> call);
  /// Ends every call with `cancelled` and waits for the thread, except on the thread itself.
  void stop();

 private:
  struct Command {
    enum class Kind { add, cancel } kind;
    std::shared_ptr<CurlCall> call;
  };

  bool leave(Command command);
  void startThread();
  void wake();

  // On the loop's own thread:
  void run();
  bool takeCommands();
  void obeyCommands();
  bool mayWait();
  void endAll();

  const CurlHttpOptions options_;

  std::mutex mutex_;
  std::vector<Command> commands_;
  std::thread thread_;
  int process_ = 0;       ///< that the thread belongs to: a forked child has no such thread
  bool waiting_ = false;  ///< the thread waits in curl, or is about to
  bool ended_ = false;

  std::unique_ptr<CurlTransfers> transfers_;
  std::vector<Command> batch_;
  std::size_t obeyed_ = 0;  ///< commands of the batch that are done
};

}  // namespace zavelo::detail

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

class Connection;

/// Accepts connections on the loopback address and gives each a thread of its own, so that a slow
/// client, a delayed answer or an idle connection holds up nobody else.
class Listener {
 public:
  /// Port 0: any free one. Clients can connect from now on, and are served once it runs.
  static Result<std::unique_ptr<Listener>, std::string> bind(std::uint16_t port);
  ~Listener();

  [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
  /// `serve` is called on the connection's thread; the connection is closed when it returns.
  void run(std::function<void(Connection&)> serve);
  /// Ends every connection and waits for its thread. Once is enough.
  void stop();

 private:
  struct Session;

  Listener(int socket, int wake, std::uint16_t port) noexcept;

  void acceptLoop();
  void acceptOne();
  void open(int client);
  void forgetFinished();
  void closeIdle();

  int socket_;
  int wake_;  ///< becomes readable when the loop is to end
  std::uint16_t port_;
  std::function<void(Connection&)> serve_;
  std::thread thread_;
  std::list<std::unique_ptr<Session>> sessions_;  ///< of the accepting thread
};

}  // namespace zavelo::sandbox

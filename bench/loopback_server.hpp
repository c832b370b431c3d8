#pragma once

#include <cstdint>
#include <string>

namespace zavelo::bench {

/// Answers every POST on loopback with one body, over kept-alive connections, in a process of its
/// own: its CPU time is nobody else's. Must be started before any thread.
class LoopbackServer {
 public:
  explicit LoopbackServer(const std::string& body);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

 private:
  int process_ = -1;
};

/// "http://127.0.0.1:port" of the server that is running.
[[nodiscard]] const std::string& loopbackUrl();

}  // namespace zavelo::bench

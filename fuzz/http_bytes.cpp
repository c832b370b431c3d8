#include "fuzz/fuzz.hpp"
#include "tests/sandbox/backend.hpp"

// What a client sends on a connection to the sandbox.

void zavelo::fuzz::run(std::string_view input) {
  static const sandbox::Backend backend;
  const auto reply = sandbox::exchange(backend.port(), input);
  require(reply.empty() || reply.starts_with("HTTP/1.1 "), "a reply is HTTP, or there is none");
  const auto health =
      sandbox::exchange(backend.port(), "GET /sandbox/health HTTP/1.1\r\nHost: localhost\r\n\r\n");
  require(health.starts_with("HTTP/1.1 200 "), "other connections are served");
}

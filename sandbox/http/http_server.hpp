#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

class Service;

/// Serves HTTP/1.1 on the loopback address. One thread reads and writes on all connections, with
/// deadlines; a pool of threads asks the service, which may block. When there are as many
/// connections as there may be, the one that has waited longest for a request gives way.
class HttpServer {
 public:
  /// Port 0: any free one. Clients can connect from now on, and are served once it runs.
  static Result<std::unique_ptr<HttpServer>, std::string> bind(std::uint16_t port);
  ~HttpServer();

  [[nodiscard]] std::uint16_t port() const noexcept;
  /// The service outlives the server.
  void run(Service& service);
  /// Ends every connection and waits for the calls under way. The service is not asked afterwards.
  void stop();

 private:
  struct Implementation;
  explicit HttpServer(std::unique_ptr<Implementation> implementation);
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace zavelo::sandbox

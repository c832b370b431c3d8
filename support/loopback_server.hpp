#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "support/certificates.hpp"

namespace zavelo::test {

struct ReceivedRequest {
  std::string method;
  std::string target;  ///< path and query
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;

  /// The first header of that name, spelled as the client spelled it; empty when there is none.
  [[nodiscard]] std::string header(std::string_view name) const;
};

/// One client's connection, for a handler on the connection's own thread.
class ServerConnection {
 public:
  virtual ~ServerConnection() = default;
  /// Sends bytes as they are. Does nothing once the client has gone.
  virtual void send(std::string_view bytes) = 0;
  /// Closes after what was sent.
  virtual void close() = 0;
  /// Ends the connection by a TCP reset.
  virtual void reset() = 0;
  /// Waits until the client closes the connection or the server ends.
  virtual void hold() = 0;
  /// The next bytes as they arrive, those after a request included; empty once the client has gone.
  virtual std::string receive() = 0;

  /// Sends a well-formed response; each header line ends in CRLF.
  void reply(int status, std::string_view body, std::string_view headerLines = {});
};

/// An HTTP/1.1 server on 127.0.0.1 that does to each request what its handler says, however wrong.
///
///     LoopbackServer server([](const ReceivedRequest&, ServerConnection& connection) {
///       connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\ncut");
///       connection.close();
///     });
class LoopbackServer {
 public:
  using Handler = std::function<void(const ReceivedRequest&, ServerConnection&)>;
  /// Speaks for a connection from its first byte on, and ends it by returning.
  struct RawHandler {
    std::function<void(ServerConnection&)> serve;
    std::string protocol = {};  ///< to agree on by ALPN (RFC 7301), such as "h2"
  };

  /// Speaks TLS if it has a certificate.
  explicit LoopbackServer(Handler handler, const ServerCertificate* certificate = nullptr);
  explicit LoopbackServer(RawHandler handler, const ServerCertificate* certificate = nullptr);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// "http://127.0.0.1:port" or https, and the path.
  [[nodiscard]] std::string url(std::string_view path = "/") const;

  [[nodiscard]] std::vector<ReceivedRequest> requests() const;
  [[nodiscard]] std::size_t connections() const;
  void waitForRequests(std::size_t count) const;

 private:
  class Connection;
  void acceptAll();
  void serve(Connection& connection);

  void serveRequests(Connection& connection, const Handler& handler);

  const RawHandler raw_;
  std::shared_ptr<void> tls_;
  int socket_ = -1;
  int port_ = 0;
  std::atomic<bool> ending_{false};
  mutable std::mutex mutex_;
  mutable std::condition_variable received_;
  std::vector<ReceivedRequest> requests_;
  std::list<std::unique_ptr<Connection>> connections_;
  std::thread acceptor_;
};

}  // namespace zavelo::test

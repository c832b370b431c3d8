#include "support/loopback_server.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace zavelo::test {

namespace {

/// Chooses the one protocol that the server has, given as ALPN lists it: a length and the name.
int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char*,
                   unsigned, void* protocol) {
  const auto& name = *static_cast<const std::string*>(protocol);
  *chosen = reinterpret_cast<const unsigned char*>(name.data());
  *length = static_cast<unsigned char>(name.size());
  return name.empty() ? SSL_TLSEXT_ERR_NOACK : SSL_TLSEXT_ERR_OK;
}

std::shared_ptr<SSL_CTX> tlsContext(const ServerCertificate& certificate,
                                    const std::string& protocol) {
  std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
  SSL_CTX_use_certificate(context.get(), certificate.certificate.get());
  SSL_CTX_use_PrivateKey(context.get(), certificate.key.get());
  SSL_CTX_set_alpn_select_cb(context.get(), &chooseProtocol, const_cast<std::string*>(&protocol));
  return context;
}

std::size_t contentLength(const ReceivedRequest& request) {
  const auto text = request.header("Content-Length");
  std::size_t length = 0;
  std::from_chars(text.data(), text.data() + text.size(), length);
  return length;
}

ReceivedRequest parseHead(const std::string& head) {
  std::istringstream lines(head);
  std::string line;
  ReceivedRequest request;
  lines >> request.method >> request.target;
  std::getline(lines, line);
  while (std::getline(lines, line) && line != "\r") {
    line.pop_back();
    const auto colon = line.find(':');
    const auto value = std::min(line.find_first_not_of(' ', colon + 1), line.size());
    request.headers.emplace_back(line.substr(0, colon), line.substr(value));
  }
  return request;
}

}  // namespace

std::string ReceivedRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (key == name) return value;
  }
  return {};
}

void ServerConnection::reply(int status, std::string_view body, std::string_view headerLines) {
  std::string response = "HTTP/1.1 " + std::to_string(status) +
                         " Status\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  send(response.append(headerLines).append("\r\n").append(body));
}

class LoopbackServer::Connection final : public ServerConnection {
 public:
  Connection(int fd, SSL_CTX* tls) : fd_(fd), tls_(tls ? SSL_new(tls) : nullptr, &SSL_free) {
    if (tls_) SSL_set_fd(tls_.get(), fd);
  }
  ~Connection() override {
    if (thread.joinable()) thread.join();
    closeSocket();
  }

  bool greet() { return !tls_ || SSL_accept(tls_.get()) == 1; }

  /// False when the client has gone.
  bool read(ReceivedRequest& request) {
    std::size_t end = 0;
    while ((end = input_.find("\r\n\r\n")) == std::string::npos) {
      if (!readMore()) return false;
    }
    request = parseHead(input_.substr(0, end + 4));
    input_.erase(0, end + 4);
    const auto length = contentLength(request);
    while (input_.size() < length) {
      if (!readMore()) return false;
    }
    request.body = input_.substr(0, length);
    input_.erase(0, length);
    return true;
  }

  void send(std::string_view bytes) override {
    while (!bytes.empty() && fd_ >= 0) {
      const auto sent = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                             : ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  void close() override {
    if (tls_ && fd_ >= 0) SSL_shutdown(tls_.get());
    closeSocket();
  }

  void reset() override {
    const linger immediately{1, 0};
    setsockopt(fd_, SOL_SOCKET, SO_LINGER, &immediately, sizeof(immediately));
    closeSocket();
  }

  void hold() override {
    while (readMore()) {
    }
  }

  std::string receive() override {
    if (input_.empty()) readMore();
    return std::exchange(input_, {});
  }

  /// From another thread: ends what the connection waits for.
  void interrupt() {
    const std::lock_guard lock(mutex_);
    if (fd_ >= 0) shutdown(fd_, SHUT_RDWR);
  }

  std::thread thread;

 private:
  bool readMore() {
    char buffer[16384];
    if (fd_ < 0) return false;
    const auto count =
        tls_ ? SSL_read(tls_.get(), buffer, sizeof(buffer)) : recv(fd_, buffer, sizeof(buffer), 0);
    if (count > 0) input_.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
  }

  void closeSocket() {
    const std::lock_guard lock(mutex_);
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  std::mutex mutex_;  ///< guards the life of fd_ against `interrupt`
  int fd_;
  const std::unique_ptr<SSL, decltype(&SSL_free)> tls_;
  std::string input_;
};

LoopbackServer::LoopbackServer(Handler handler, const ServerCertificate* certificate)
    : LoopbackServer(RawHandler{[this, handler = std::move(handler)](ServerConnection& connection) {
                       serveRequests(static_cast<Connection&>(connection), handler);
                     }},
                     certificate) {}

LoopbackServer::LoopbackServer(RawHandler handler, const ServerCertificate* certificate)
    : raw_(std::move(handler)),
      tls_(certificate ? tlsContext(*certificate, raw_.protocol) : nullptr) {
  socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* bound = reinterpret_cast<sockaddr*>(&address);
  if (bind(socket_, bound, size) != 0 || listen(socket_, SOMAXCONN) != 0 ||
      getsockname(socket_, bound, &size) != 0) {
    throw std::runtime_error("cannot listen on a loopback port");
  }
  port_ = ntohs(address.sin_port);
  // A client that has gone must not end the test program; the threads inherit this.
  sigset_t pipe;
  sigset_t before;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, &before);
  acceptor_ = std::thread([this] { acceptAll(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

LoopbackServer::~LoopbackServer() {
  ending_ = true;
  shutdown(socket_, SHUT_RDWR);
  acceptor_.join();
  ::close(socket_);
  for (auto& connection : connections_) connection->interrupt();
  connections_.clear();
}

std::string LoopbackServer::url(std::string_view path) const {
  return (tls_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) +
         std::string(path);
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t LoopbackServer::connections() const {
  const std::lock_guard lock(mutex_);
  return connections_.size();
}

void LoopbackServer::waitForRequests(std::size_t count) const {
  std::unique_lock lock(mutex_);
  received_.wait(lock, [&] { return requests_.size() >= count; });
}

void LoopbackServer::acceptAll() {
  for (;;) {
    const int fd = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return;
    const std::lock_guard lock(mutex_);
    auto& connection = *connections_.emplace_back(
        std::make_unique<Connection>(fd, static_cast<SSL_CTX*>(tls_.get())));
    connection.thread = std::thread([this, &connection] { serve(connection); });
  }
}

void LoopbackServer::serve(Connection& connection) {
  if (connection.greet()) raw_.serve(connection);
  if (!ending_) connection.close();
}

void LoopbackServer::serveRequests(Connection& connection, const Handler& handler) {
  ReceivedRequest request;
  while (connection.read(request)) {
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(request);
      received_.notify_all();
    }
    handler(request, connection);
    if (ending_) return;
  }
}

}  // namespace zavelo::test

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

#include "zavelo/messaging/engines/mqtt/stream_internal.hpp"

namespace zavelo::detail {
namespace {

bool isForLater(int number) {
  return number == EAGAIN || number == EWOULDBLOCK || number == EINTR;
}

class PlainStream final : public MqttStream {
 public:
  explicit PlainStream(const MqttAddress& address)
      : file_(socket(address.storage.ss_family, SOCK_STREAM, 0)) {
    if (file_ < 0) {
      fail(errno);
      return;
    }
    fcntl(file_, F_SETFD, FD_CLOEXEC);
    fcntl(file_, F_SETFL, O_NONBLOCK);
    const int on = 1;
    setsockopt(file_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto* to = reinterpret_cast<const sockaddr*>(&address.storage);
    if (connect(file_, to, address.size) != 0 && errno != EINPROGRESS && errno != EINTR)
      fail(errno);
  }
  ~PlainStream() override {
    if (file_ >= 0) close(file_);
  }

  State proceed() override {
    pollfd connected{file_, POLLOUT, 0};
    if (!problem_.empty()) return State::failed;
    if (poll(&connected, 1, 0) <= 0) return State::waiting;
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(file_, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error == 0) return State::ready;
    fail(error);
    return State::failed;
  }
  std::size_t read(char* to, std::size_t size) override {
    const auto count = recv(file_, to, size, 0);
    if (count == 0) problem_ = "the broker closed the connection";
    return moved(count);
  }
  std::size_t write(std::string_view bytes) override {
    return moved(send(file_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }
  [[nodiscard]] int file() const override { return file_; }
  [[nodiscard]] short awaited() const override { return POLLOUT; }

 private:
  void fail(int number) { problem_ = systemWords(number); }
  std::size_t moved(ssize_t count) {
    if (count >= 0) return static_cast<std::size_t>(count);
    if (!isForLater(errno)) fail(errno);
    return 0;
  }

  int file_;
};

class OpenSslTrust final : public MqttTrust {
 public:
  explicit OpenSslTrust(SSL_CTX* context) : context_(context) {}
  ~OpenSslTrust() override { SSL_CTX_free(context_); }
  [[nodiscard]] SSL_CTX* context() const { return context_; }

 private:
  SSL_CTX* const context_;
};

class TlsStream final : public MqttStream {
 public:
  TlsStream(const MqttAddress& address, const std::string& host, std::shared_ptr<MqttTrust> trust)
      : plain_(address),
        trust_(std::move(trust)),
        ssl_(SSL_new(static_cast<const OpenSslTrust&>(*trust_).context())) {
    if (!ssl_) {
      problem_ = "no memory for TLS";
      return;
    }
    auto* verified = SSL_get0_param(ssl_);
    const bool isNumeric = X509_VERIFY_PARAM_set1_ip_asc(verified, host.c_str()) == 1;
    if (!isNumeric) {
      X509_VERIFY_PARAM_set1_host(verified, host.c_str(), host.size());
      SSL_set_tlsext_host_name(ssl_, host.c_str());
    }
    SSL_set_connect_state(ssl_);
  }
  ~TlsStream() override {
    if (isReady_ && problem_.empty()) SSL_shutdown(ssl_);
    SSL_free(ssl_);
  }

  State proceed() override {
    if (!problem_.empty()) return State::failed;
    if (!isConnected_) {
      const auto state = plain_.proceed();
      if (state == State::failed) problem_ = plain_.problem();
      if (state != State::ready) return state;
      isConnected_ = true;
      SSL_set_fd(ssl_, plain_.file());
    }
    ERR_clear_error();
    isReady_ = check(SSL_do_handshake(ssl_)) > 0;
    return isReady_ ? State::ready : problem_.empty() ? State::waiting : State::failed;
  }
  std::size_t read(char* to, std::size_t size) override {
    ERR_clear_error();
    return check(SSL_read(ssl_, to, bounded(size)));
  }
  std::size_t write(std::string_view bytes) override {
    ERR_clear_error();
    return check(SSL_write(ssl_, bytes.data(), bounded(bytes.size())));
  }
  [[nodiscard]] bool hasBuffered() const override { return SSL_pending(ssl_) > 0; }
  [[nodiscard]] int file() const override { return plain_.file(); }
  [[nodiscard]] short awaited() const override { return awaited_; }

 private:
  static int bounded(std::size_t size) {
    return static_cast<int>(
        std::min<std::size_t>(size, static_cast<std::size_t>(std::numeric_limits<int>::max())));
  }
  /// What a call of the library came to: the bytes moved, or 0 and maybe a problem.
  std::size_t check(int result) {
    if (result > 0) return static_cast<std::size_t>(result);
    const int systemError = errno;
    switch (SSL_get_error(ssl_, result)) {
      case SSL_ERROR_WANT_READ:
        awaited_ = POLLIN;
        return 0;
      case SSL_ERROR_WANT_WRITE:
        awaited_ = POLLOUT;
        return 0;
      case SSL_ERROR_SSL:
        return fail(), 0;
      case SSL_ERROR_SYSCALL:
        if (systemError != 0) return problem_ = systemWords(systemError), 0;
        [[fallthrough]];
      default:
        problem_ = "the broker closed the connection";
        return 0;
    }
  }
  void fail() {
    const auto verified = SSL_get_verify_result(ssl_);
    isMistrusted_ = !isReady_;
    if (verified != X509_V_OK) {
      problem_ =
          std::string("the certificate is not trusted: ") + X509_verify_cert_error_string(verified);
      return;
    }
    const char* words = ERR_reason_error_string(ERR_peek_error());
    problem_ = std::string("TLS: ") + (words ? words : "failed");
  }

  PlainStream plain_;
  const std::shared_ptr<MqttTrust> trust_;
  SSL* const ssl_;
  short awaited_ = POLLOUT;
  bool isConnected_ = false;
  bool isReady_ = false;
};

}  // namespace

std::string systemWords(int number) {
  auto words = std::system_category().message(number);
  if (!words.empty())
    words[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(words[0])));
  return words;
}

std::shared_ptr<MqttTrust> MqttTrust::read(const std::string& caFile, std::string& problem) {
  SSL_CTX* context = SSL_CTX_new(TLS_client_method());
  if (!context) return problem = "no memory for TLS", nullptr;
  auto trust = std::make_shared<OpenSslTrust>(context);
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
                                SSL_MODE_RELEASE_BUFFERS);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  const bool isRead = caFile.empty() ? SSL_CTX_set_default_verify_paths(context) == 1
                                     : SSL_CTX_load_verify_file(context, caFile.c_str()) == 1;
  if (!isRead) return problem = "cannot read the authorities in " + caFile, nullptr;
  return trust;
}

std::unique_ptr<MqttStream> MqttStream::open(const MqttAddress& address, const std::string& host,
                                             std::shared_ptr<MqttTrust> trust) {
  if (!trust) return std::make_unique<PlainStream>(address);
  return std::make_unique<TlsStream>(address, host, std::move(trust));
}

}  // namespace zavelo::detail

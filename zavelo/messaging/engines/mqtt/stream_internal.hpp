#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace zavelo::detail {

/// An address of a host, as the system's resolver gives it.
struct MqttAddress {
  sockaddr_storage storage{};
  socklen_t size = 0;
};

/// Which authorities are trusted, and what they vouch for. One for all connections of a kit: a file
/// is read once.
class MqttTrust {
 public:
  virtual ~MqttTrust() = default;
  /// `caFile` empty: the system's authorities. None, and a sentence, when they cannot be read.
  static std::shared_ptr<MqttTrust> read(const std::string& caFile, std::string& problem);
};

/// A connection to one address as a stream of bytes, which never blocks.
class MqttStream {
 public:
  enum class State { waiting, ready, failed };

  /// With `trust` through TLS, where `host` must be what the certificate names.
  static std::unique_ptr<MqttStream> open(const MqttAddress& address, const std::string& host,
                                          std::shared_ptr<MqttTrust> trust);
  virtual ~MqttStream() = default;

  /// Goes on with connecting, after the file was ready for what is awaited.
  virtual State proceed() = 0;
  /// Once ready: the number of bytes moved; 0 when none can be now, or when it failed.
  virtual std::size_t read(char* to, std::size_t size) = 0;
  virtual std::size_t write(std::string_view bytes) = 0;
  /// Why it failed, in words; empty as long as it did not.
  [[nodiscard]] const std::string& problem() const noexcept { return problem_; }
  /// The other side is not whom the certificate should name, or has none that is trusted.
  [[nodiscard]] bool isMistrusted() const noexcept { return isMistrusted_; }
  /// Bytes have come that poll() cannot see.
  [[nodiscard]] virtual bool hasBuffered() const { return false; }
  [[nodiscard]] virtual int file() const = 0;
  /// What poll() should wait for until it is ready.
  [[nodiscard]] virtual short awaited() const = 0;

 protected:
  std::string problem_;
  bool isMistrusted_ = false;
};

/// "connection refused": the system's words for an error number.
[[nodiscard]] std::string systemWords(int number);

}  // namespace zavelo::detail

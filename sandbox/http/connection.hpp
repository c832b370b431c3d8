#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <limits>
#include <optional>

namespace zavelo::sandbox {

/// One accepted connection, served by one thread: buffered reading that is bounded in time and
/// size, and the ways in which a response may be spoilt on purpose.
class Connection {
 public:
  /// Takes over the socket, which is non-blocking.
  explicit Connection(int socket) noexcept : socket_(socket) {}
  Connection(const Connection&) = delete;
  ~Connection();

  /// Waits for the first byte of the next request. False when there will be none.
  [[nodiscard]] bool awaitRequest(std::chrono::milliseconds patience);
  /// What the next request may read in all; reading fails beyond.
  void allowRequest(std::size_t bytes) noexcept { allowance_ = bytes; }

  /// Like read(2), waiting up to `ioPatience`; -1 also when the allowance is used up.
  [[nodiscard]] ssize_t read(char* to, std::size_t size);
  /// Like write(2), but all or -1.
  [[nodiscard]] ssize_t write(const char* from, std::size_t size);

  /// Ends the connection after that many bytes of the next response's body.
  void cutBodyAfter(std::size_t bytes) noexcept { bodyLeft_ = bytes; }
  /// Ends the connection now, without a response.
  void refuse() noexcept;
  /// Whether the client still holds its end open.
  [[nodiscard]] bool hasClient() const noexcept;
  /// The request was not read to its end: there is no next one on this connection.
  void closeAfterResponse() noexcept { lastRequest_ = true; }
  [[nodiscard]] bool hasNext() const noexcept { return !lastRequest_; }
  /// Reads away what the client is still sending, for a while: closing a socket with unread bytes
  /// resets the connection, and the client would lose the response (RFC 9112 section 9.6).
  void drain();

  /// From any thread: every wait ends and the connection with it.
  void shutdown() noexcept;
  /// Whether it waits for a request. From any thread.
  [[nodiscard]] bool idle() const noexcept { return idle_; }
  [[nodiscard]] int socket() const noexcept { return socket_; }

 private:
  static constexpr std::chrono::milliseconds ioPatience{30'000};

  [[nodiscard]] bool waitFor(short events, std::chrono::milliseconds patience) const;
  [[nodiscard]] ssize_t fill(std::chrono::milliseconds patience);

  int socket_;
  std::array<char, 16 * 1024> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t allowance_ = std::numeric_limits<std::size_t>::max();
  std::optional<std::size_t> bodyLeft_;
  bool inBody_ = false;
  bool lastRequest_ = false;
  std::atomic<bool> idle_ = false;
};

}  // namespace zavelo::sandbox

#pragma once

#include <algorithm>
#include <atomic>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// What a client that sent no well-formed request is told. Thrown.
struct Rejection {
  int status;
  std::string reason;
};

/// A client's connection: reads requests and writes responses, each with a limit of size and time.
/// Every failure of the connection itself is thrown. All but `isGone` belongs to the server's
/// thread.
class HttpConnection {
 public:
  template <class T>
  using Awaitable = boost::asio::awaitable<T>;
  using Tcp = boost::asio::ip::tcp;

  /// What it waits for.
  enum class Phase { idle, header, body, call };

  /// A larger body is answered 413. Room for an upload of 16 MB and the form around it.
  static constexpr std::size_t bodyLimit = 16 * 1024 * 1024 + 64 * 1024;

  explicit HttpConnection(Tcp::socket socket) : stream_(std::move(socket)) {}

  /// The next request, whole. A connection that is closed before throws, too.
  Awaitable<Request> read();
  /// Writes the response to the last request. Returns whether there can be another one.
  Awaitable<bool> write(Response response);
  /// There is no other request on this connection.
  void closeAfterResponse() noexcept { isLast_ = true; }
  /// Reads away what the client is still sending, for a while: closing a socket with unread bytes
  /// resets the connection, and the client would lose the response (RFC 9112 section 9.6).
  Awaitable<void> drain();

  /// The head of a response whose body ends with the connection.
  Awaitable<void> writeHead(Response response);
  /// A piece of that body. Returns whether it was sent.
  Awaitable<bool> writePiece(std::string_view piece);
  /// Returns when the client has closed the connection, or the server has.
  Awaitable<void> untilClosed();
  /// Whether untilClosed() has returned. Any thread.
  [[nodiscard]] bool isGone() const noexcept { return isGone_; }

  void close() { stream_.close(); }
  /// A smaller one gives way first: what has waited longest for a whole header, then for a body. A
  /// connection that was just opened is the last of the former, however many never end their
  /// header.
  [[nodiscard]] auto order() const noexcept {
    return std::pair(std::max(phase_, Phase::header), since_);
  }
  [[nodiscard]] Phase phase() const noexcept { return phase_; }

 private:
  using Clock = std::chrono::steady_clock;
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  void enter(Phase phase, Clock::duration patience);
  [[nodiscard]] std::string_view received() const noexcept;
  Awaitable<void> readHead(Parser& parser);
  Awaitable<void> readBody(Parser& parser, bool isContinueAwaited);

  boost::beast::tcp_stream stream_;
  boost::beast::flat_buffer buffer_;
  Phase phase_ = Phase::idle;
  Clock::time_point since_ = Clock::now();
  bool isLast_ = false;
  bool isHead_ = false;  ///< the method of the last request: its response has no body
  std::atomic<bool> isGone_ = false;
};

}  // namespace zavelo::sandbox

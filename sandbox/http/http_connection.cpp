#include "sandbox/http/http_connection.hpp"

#include <algorithm>
#include <array>
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "sandbox/http/request_head.hpp"

namespace zavelo::sandbox {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::use_awaitable;
using boost::system::error_code;
using boost::system::system_error;
using RequestHead = http::request<http::string_body>;

constexpr std::size_t headerLimit = 64 * 1024;
constexpr std::size_t pathLimit = 1024;
constexpr std::size_t pieceSize = 4096;
constexpr std::size_t mostDrained = 64 * 1024 * 1024;

constexpr std::chrono::seconds idlePatience{30};
constexpr std::chrono::seconds headerPatience{10};  ///< for all of it
constexpr std::chrono::seconds bodyPatience{60};    ///< for all of it
constexpr std::chrono::seconds writePatience{60};
constexpr std::chrono::seconds drainPatience{1};
constexpr std::chrono::seconds mostDrainTime{30};

[[noreturn]] void reject(const std::string& reason) {
  throw Rejection{400, reason};
}

void checkHost(const RequestHead& head) {
  const auto hosts = head.count(http::field::host);
  if (hosts > 1) reject("There is more than one Host header");
  if (hosts == 0 && head.version() == 11) reject("There is no Host header");
}

/// RFC 9112 section 6: what two readers could understand differently is refused.
void checkLength(const RequestHead& head) {
  const auto coding = head.find(http::field::transfer_encoding);
  const auto length = head.find(http::field::content_length);
  if (coding != head.end()) {
    if (length != head.end()) reject("Content-Length is beside Transfer-Encoding");
    if (head.version() != 11) reject("HTTP/1.0 has no Transfer-Encoding");
    if (head.count(http::field::transfer_encoding) > 1 ||
        !equalIgnoringCase({coding->value().data(), coding->value().size()}, "chunked")) {
      reject("The only Transfer-Encoding that is known here is \"chunked\"");
    }
  }
  if (length == head.end()) return;
  const auto digits = length->value();
  const bool isNumber =
      !digits.empty() && std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
  if (!isNumber) reject("Content-Length is no number");
}

Request requestFrom(const RequestHead& head) {
  const auto target = withoutAuthority({head.target().data(), head.target().size()});
  if (target.empty()) reject("The request's target has no path");
  const auto mark = target.find('?');
  Request request{.method = std::string(head.method_string()),
                  .path = percentDecoded(target.substr(0, mark))};
  if (mark != std::string_view::npos) request.query = target.substr(mark + 1);
  if (request.path.size() > pathLimit) throw Rejection{414, "The address is too long"};
  for (const auto& field : head) {
    request.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
  }
  constexpr std::string_view formType = "multipart/form-data";
  request.isForm =
      equalIgnoringCase(request.header("Content-Type").substr(0, formType.size()), formType);
  return request;
}

[[noreturn]] void throwFor(const error_code& error) {
  if (error == http::error::body_limit) throw Rejection{413, "The body is larger than 16 MB"};
  if (error == http::error::partial_message) reject("The body is cut short");
  const error_code any = http::error::bad_value;
  if (error.category() == any.category()) reject("This is not well-formed HTTP");
  throw system_error(error);
}

http::response<http::string_body> messageFrom(Response& response) {
  http::response<http::string_body> message;
  message.version(11);
  message.result(static_cast<unsigned>(response.status));
  message.set(http::field::content_type, response.contentType);
  for (const auto& [name, value] : response.headers) message.insert(name, value);
  message.body() = std::move(response.body);
  return message;
}

}  // namespace

void HttpConnection::enter(Phase phase, Clock::duration patience) {
  phase_ = phase;
  since_ = Clock::now();
  stream_.expires_after(patience);
}

std::string_view HttpConnection::received() const noexcept {
  return {static_cast<const char*>(buffer_.data().data()), buffer_.size()};
}

HttpConnection::Awaitable<Request> HttpConnection::read() {
  isHead_ = false;
  Parser parser;
  parser.header_limit(headerLimit);
  parser.body_limit(bodyLimit);
  co_await readHead(parser);
  const auto& head = parser.get();
  checkHost(head);
  checkLength(head);
  Request request = requestFrom(head);
  isHead_ = request.method == "HEAD";
  // HTTP/1.0 keeps a connection only where both sides say so.
  isLast_ = !head.keep_alive() || head.version() != 11;
  if (!request.header("Content-Encoding").empty()) {
    throw Rejection{415, "\"Content-Encoding\": a compressed body is not accepted"};
  }
  if (!parser.is_done()) co_await readBody(parser, !request.header("Expect").empty());
  request.body = std::move(parser.get().body());
  if (buffer_.size() == 0) buffer_.shrink_to_fit();
  if (!stream_.socket().is_open()) throw system_error(asio::error::operation_aborted);
  phase_ = Phase::call;
  co_return request;
}

HttpConnection::Awaitable<void> HttpConnection::readHead(Parser& parser) {
  enter(Phase::idle, idlePatience);
  HeadScan scan;
  while (true) {
    // An empty line before a request is ignored (RFC 9112 section 2.2).
    while (received().starts_with("\r\n")) buffer_.consume(2);
    const auto state = scan.look(received());
    if (state == HeadScan::State::malformed) reject("This is not well-formed HTTP");
    if (scan.length() > headerLimit) throw Rejection{431, "The header is larger than 64 KB"};
    if (state == HeadScan::State::complete) break;
    if (buffer_.size() > 0 && phase_ == Phase::idle) enter(Phase::header, headerPatience);
    buffer_.commit(co_await stream_.async_read_some(buffer_.prepare(pieceSize), use_awaitable));
  }
  error_code error;
  buffer_.consume(parser.put(asio::buffer(received().substr(0, scan.length())), error));
  if (error) throwFor(error);
}

HttpConnection::Awaitable<void> HttpConnection::readBody(Parser& parser, bool isContinueAwaited) {
  enter(Phase::body, bodyPatience);
  if (isContinueAwaited) {
    constexpr std::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    co_await asio::async_write(stream_, asio::buffer(goOn), use_awaitable);
  }
  error_code error;
  co_await http::async_read(stream_, buffer_, parser, asio::redirect_error(use_awaitable, error));
  if (error) throwFor(error);
}

HttpConnection::Awaitable<bool> HttpConnection::write(Response response) {
  phase_ = Phase::call;
  const bool isCut = response.delivery == Delivery::cutMidBody;
  if (response.delivery == Delivery::none) co_return false;
  auto message = messageFrom(response);
  message.content_length(message.body().size());
  message.keep_alive(!isLast_);
  if (isCut) message.body().resize(message.body().size() / 2);
  if (isHead_) message.body().clear();
  stream_.expires_after(writePatience);
  co_await http::async_write(stream_, message, use_awaitable);
  if (isLast_ && !isCut) co_await drain();
  co_return !isLast_ && !isCut;
}

HttpConnection::Awaitable<void> HttpConnection::drain() {
  stream_.socket().shutdown(Tcp::socket::shutdown_send);
  const auto end = Clock::now() + mostDrainTime;
  std::array<char, pieceSize> ignored;
  for (std::size_t drained = 0; drained < mostDrained && Clock::now() < end;) {
    enter(Phase::idle, drainPatience);
    drained += co_await stream_.async_read_some(asio::buffer(ignored), use_awaitable);
  }
}

HttpConnection::Awaitable<void> HttpConnection::writeHead(Response response) {
  auto message = messageFrom(response);
  message.keep_alive(false);
  stream_.expires_after(writePatience);
  co_await http::async_write(stream_, message, use_awaitable);
  stream_.expires_never();
}

HttpConnection::Awaitable<bool> HttpConnection::writePiece(std::string_view piece) {
  error_code error;
  stream_.expires_after(writePatience);  // not for the reading that is under way
  co_await asio::async_write(stream_, asio::buffer(piece),
                             asio::redirect_error(use_awaitable, error));
  co_return !error;
}

HttpConnection::Awaitable<void> HttpConnection::untilClosed() {
  error_code error;
  std::array<char, 256> ignored;
  while (!error) {
    co_await stream_.async_read_some(asio::buffer(ignored),
                                     asio::redirect_error(use_awaitable, error));
  }
  isGone_ = true;
}

}  // namespace zavelo::sandbox

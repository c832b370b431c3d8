#include "sandbox/http/http_server.hpp"

#include <fcntl.h>

#include <algorithm>
#include <boost/asio.hpp>
#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "sandbox/http/form.hpp"
#include "sandbox/http/http_connection.hpp"
#include "sandbox/http/message.hpp"
#include "sandbox/http/worker_pool.hpp"

namespace zavelo::sandbox {
namespace {

namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;
using boost::system::error_code;
using boost::system::system_error;
using Tcp = asio::ip::tcp;
using ConnectionPointer = std::shared_ptr<HttpConnection>;
using TimerPointer = std::shared_ptr<asio::steady_timer>;

/// Below the usual limit of 1,024 open files, which the state file and pictures need too.
constexpr std::size_t mostConnections = 900;
/// More calls at once wait for one another.
constexpr std::size_t mostThreads = 512;
/// How soon to look again when nothing can be accepted.
constexpr std::chrono::milliseconds crowdedPause{20};

/// A child process, such as the broker, must not keep the connection open.
void closeOnExec(int descriptor) {
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

}  // namespace

struct HttpServer::Implementation {
  /// Throws where the port is not to be had.
  explicit Implementation(std::uint16_t wanted);

  awaitable<void> acceptAll();
  awaitable<void> accept(error_code& error);
  bool closeLongestWaiting();
  awaitable<void> serve(ConnectionPointer connection);
  awaitable<bool> serveNext(ConnectionPointer connection);
  awaitable<Response> answer(Request request);
  awaitable<void> stream(ConnectionPointer connection, Response response);

  /// Runs on a worker's thread; the timer expires when it is done.
  TimerPointer start(std::function<void()> work);
  Response answerOrReject(Request& request);
  bool send(const ConnectionPointer& connection, std::string_view piece);

  asio::io_context io{1};
  Tcp::acceptor acceptor{io};
  std::uint16_t port;
  std::set<ConnectionPointer> open;
  WorkerPool workers{mostThreads};
  Service* service = nullptr;
  std::thread thread;
};

HttpServer::Implementation::Implementation(std::uint16_t wanted) {
  const Tcp::endpoint place(asio::ip::address_v4::loopback(), wanted);
  acceptor.open(place.protocol());
  closeOnExec(acceptor.native_handle());
  // Not SO_REUSEPORT: it would let two servers share a port without a word.
  acceptor.set_option(asio::socket_base::reuse_address(true));
  acceptor.bind(place);
  acceptor.listen(1024);
  port = acceptor.local_endpoint().port();
}

awaitable<void> HttpServer::Implementation::acceptAll() {
  asio::steady_timer pause(io);
  while (acceptor.is_open()) {
    error_code error;
    if (open.size() < mostConnections || closeLongestWaiting()) {
      try {
        co_await accept(error);
      } catch (const std::exception&) {
        error = asio::error::no_memory;
      }
      if (!error) continue;
      closeLongestWaiting();  // there may be no descriptors left
    }
    pause.expires_after(crowdedPause);
    co_await pause.async_wait(use_awaitable);
  }
}

awaitable<void> HttpServer::Implementation::accept(error_code& error) {
  Tcp::socket socket(io);
  co_await acceptor.async_accept(socket, asio::redirect_error(use_awaitable, error));
  if (error) co_return;
  closeOnExec(socket.native_handle());
  // What leaves in several writes does not wait for an acknowledgement.
  socket.set_option(Tcp::no_delay(true), error);
  const auto connection = std::make_shared<HttpConnection>(std::move(socket));
  open.insert(connection);
  asio::co_spawn(io, serve(connection), asio::detached);
}

bool HttpServer::Implementation::closeLongestWaiting() {
  const auto first = std::ranges::min_element(
      open, {}, [](const ConnectionPointer& connection) { return connection->order(); });
  if (first == open.end() || (*first)->phase() == HttpConnection::Phase::call) return false;
  (*first)->close();
  open.erase(first);
  return true;
}

awaitable<void> HttpServer::Implementation::serve(ConnectionPointer connection) {
  try {
    while (co_await serveNext(connection)) {
    }
  } catch (const std::exception&) {
    // The client is gone or too slow, or the connection gave way.
  }
  open.erase(connection);
}

/// Returns whether the connection can take another request.
awaitable<bool> HttpServer::Implementation::serveNext(ConnectionPointer connection) {
  Response response;
  std::optional<Rejection> rejection;
  try {
    Request request = co_await connection->read();
    response = co_await answer(std::move(request));
  } catch (const Rejection& rejected) {
    rejection = rejected;
  }
  if (rejection) {
    connection->closeAfterResponse();
    response = service->reject(rejection->status, rejection->reason);
  }
  if (!response.stream) co_return co_await connection->write(std::move(response));
  co_await stream(connection, std::move(response));
  co_return false;
}

TimerPointer HttpServer::Implementation::start(std::function<void()> work) {
  auto done = std::make_shared<asio::steady_timer>(io, asio::steady_timer::time_point::max());
  const bool isStarted = workers.run([this, done, work = std::move(work)] {
    work();
    asio::post(io, [done] { done->expires_at(asio::steady_timer::time_point::min()); });
  });
  if (!isStarted) throw std::runtime_error("no thread is left for the call");
  return done;
}

awaitable<Response> HttpServer::Implementation::answer(Request request) {
  struct Exchange {
    Request request;
    Response response;
  };
  const auto exchange = std::make_shared<Exchange>(Exchange{std::move(request), {}});
  const auto done =
      start([this, exchange] { exchange->response = answerOrReject(exchange->request); });
  error_code expired;
  co_await done->async_wait(asio::redirect_error(use_awaitable, expired));
  co_return std::move(exchange->response);
}

Response HttpServer::Implementation::answerOrReject(Request& request) {
  try {
    if (request.isForm) {
      auto parts = formParts(request.header("Content-Type"), request.body);
      if (!parts) return service->reject(400, "The body is not a well-formed form");
      request.form = *std::move(parts);
      request.body.clear();
    }
    return service->answer(request);
  } catch (const std::exception& error) {
    return service->reject(500, error.what());
  } catch (...) {
    return service->reject(500, "Unknown failure");
  }
}

/// Sends a response that goes on for as long as both sides like.
awaitable<void> HttpServer::Implementation::stream(ConnectionPointer connection,
                                                   Response response) {
  const auto write = std::move(response.stream);
  co_await connection->writeHead(std::move(response));
  const auto done = start([this, connection, write] {
    try {
      write([&](std::string_view piece) { return send(connection, piece); });
    } catch (const std::exception&) {
      // The client learns by the end of the connection.
    }
    asio::post(io, [connection] { connection->close(); });
  });
  co_await connection->untilClosed();
  error_code expired;
  co_await done->async_wait(asio::redirect_error(use_awaitable, expired));
}

/// Called on a worker's thread, which waits until the piece is sent.
bool HttpServer::Implementation::send(const ConnectionPointer& connection, std::string_view piece) {
  if (piece.empty() || connection->isGone()) return !connection->isGone();
  return asio::co_spawn(io, connection->writePiece(piece), asio::use_future).get();
}

HttpServer::HttpServer(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

HttpServer::~HttpServer() {
  stop();
}

Result<std::unique_ptr<HttpServer>, std::string> HttpServer::bind(std::uint16_t port) {
  try {
    return std::unique_ptr<HttpServer>(new HttpServer(std::make_unique<Implementation>(port)));
  } catch (const system_error& error) {
    const std::string where = "port " + std::to_string(port);
    if (error.code() == asio::error::address_in_use) return Failure{where + " is in use"};
    return Failure{"cannot listen on " + where + ": " + error.code().message()};
  }
}

std::uint16_t HttpServer::port() const noexcept {
  return implementation_->port;
}

void HttpServer::run(Service& service) {
  auto& server = *implementation_;
  server.service = &service;
  asio::co_spawn(server.io, server.acceptAll(), asio::detached);
  server.thread = std::thread([&server] { server.io.run(); });
}

void HttpServer::stop() {
  auto& server = *implementation_;
  if (!server.thread.joinable()) return;
  asio::post(server.io, [&server] {
    server.acceptor.close();
    for (const auto& connection : server.open) connection->close();
  });
  server.workers.stop();
  server.thread.join();
}

}  // namespace zavelo::sandbox

#include "sandbox/http/listener.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

#include "sandbox/http/connection.hpp"

namespace zavelo::sandbox {
namespace {

/// Below the usual limit of 1,024 open files, which the state file and pictures need too.
constexpr std::size_t mostConnections = 900;
/// How soon to look again when nothing can be accepted.
constexpr int crowdedPollMilliseconds = 20;

std::string systemText(int error) {
  return std::generic_category().message(error);
}

}  // namespace

struct Listener::Session {
  explicit Session(int socket) noexcept : connection(socket) {}
  Connection connection;
  std::atomic<bool> finished = false;
  std::thread thread;
};

Result<std::unique_ptr<Listener>, std::string> Listener::bind(std::uint16_t port) {
  const int listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int wake = ::eventfd(0, EFD_CLOEXEC);
  std::unique_ptr<Listener> listener(new Listener(listening, wake, port));
  if (listening < 0 || wake < 0) return Failure{"cannot make a socket: " + systemText(errno)};

  // Not SO_REUSEPORT: it would let two servers share a port without a word.
  const int on = 1;
  ::setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listening, plain, length) != 0 || ::listen(listening, 1024) != 0) {
    const int error = errno;
    const std::string where = "port " + std::to_string(port);
    if (error == EADDRINUSE) return Failure{where + " is in use"};
    return Failure{"cannot listen on " + where + ": " + systemText(error)};
  }
  ::getsockname(listening, plain, &length);
  listener->port_ = ntohs(address.sin_port);
  return listener;
}

Listener::Listener(int socket, int wake, std::uint16_t port) noexcept
    : socket_(socket), wake_(wake), port_(port) {}

Listener::~Listener() {
  stop();
  if (socket_ >= 0) ::close(socket_);
  if (wake_ >= 0) ::close(wake_);
}

void Listener::run(std::function<void(Connection&)> serve) {
  serve_ = std::move(serve);
  thread_ = std::thread([this] { acceptLoop(); });
}

void Listener::stop() {
  if (!thread_.joinable()) return;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(wake_, &one, sizeof one);
  thread_.join();
}

void Listener::acceptLoop() {
  while (true) {
    forgetFinished();
    const bool crowded = sessions_.size() >= mostConnections;
    if (crowded) closeIdle();
    pollfd waited[] = {{wake_, POLLIN, 0}, {socket_, POLLIN, 0}};
    ::poll(waited, crowded ? 1 : 2, crowded ? crowdedPollMilliseconds : -1);
    if (waited[0].revents != 0) break;
    if (!crowded && waited[1].revents != 0) acceptOne();
  }
  // Whoever connects from now on is refused by the system.
  ::close(std::exchange(socket_, -1));
  for (const auto& session : sessions_) session->connection.shutdown();
  for (const auto& session : sessions_) session->thread.join();
  sessions_.clear();
}

void Listener::acceptOne() {
  const int client = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (client >= 0) {
    open(client);
  } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
    pollfd waited{wake_, POLLIN, 0};
    ::poll(&waited, 1, crowdedPollMilliseconds);
  }
}

void Listener::open(int client) {
  // The header and the body are written apart; without this the body waits for an acknowledgement.
  const int on = 1;
  ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  auto& session = *sessions_.emplace_back(std::make_unique<Session>(client));
  try {
    session.thread = std::thread([this, &session] {
      serve_(session.connection);
      session.connection.shutdown();
      session.finished = true;
    });
  } catch (const std::system_error&) {
    sessions_.pop_back();  // no thread to be had: the client sees its connection closed
  }
}

void Listener::forgetFinished() {
  sessions_.remove_if([](const std::unique_ptr<Session>& session) {
    if (!session->finished) return false;
    session->thread.join();
    return true;
  });
}

void Listener::closeIdle() {
  for (const auto& session : sessions_) {
    if (session->connection.idle()) session->connection.shutdown();
  }
}

}  // namespace zavelo::sandbox

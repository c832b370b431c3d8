#include "sandbox/http/connection.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace zavelo::sandbox {

Connection::~Connection() {
  ::close(socket_);
}

bool Connection::waitFor(short events, std::chrono::milliseconds patience) const {
  pollfd waited{socket_, events, 0};
  int ready = 0;
  do {
    ready = ::poll(&waited, 1, static_cast<int>(patience.count()));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

ssize_t Connection::fill(std::chrono::milliseconds patience) {
  while (true) {
    const ssize_t got = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
    if (got >= 0) {
      begin_ = 0;
      end_ = static_cast<std::size_t>(got);
      return got;
    }
    if (errno == EINTR) continue;
    if ((errno != EAGAIN && errno != EWOULDBLOCK) || !waitFor(POLLIN, patience)) return -1;
  }
}

bool Connection::awaitRequest(std::chrono::milliseconds patience) {
  if (begin_ < end_) return true;
  idle_ = true;
  const bool arrived = fill(patience) > 0;
  idle_ = false;
  return arrived;
}

ssize_t Connection::read(char* to, std::size_t size) {
  if (begin_ == end_) {
    if (const ssize_t got = fill(ioPatience); got <= 0) {
      lastRequest_ = true;
      return got;
    }
  }
  const std::size_t taken = std::min({size, end_ - begin_, allowance_});
  if (taken == 0 && size > 0) {
    lastRequest_ = true;
    return -1;
  }
  std::memcpy(to, buffer_.data() + begin_, taken);
  begin_ += taken;
  allowance_ -= taken;
  return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* from, std::size_t size) {
  std::size_t wanted = size;
  if (bodyLeft_) {
    // The header arrives in one piece, and the body behind it or in the next ones.
    const std::string_view text(from, size);
    const std::size_t headerEnd = inBody_ ? 0 : text.find("\r\n\r\n");
    if (headerEnd != std::string_view::npos) {
      const std::size_t bodyStart = inBody_ ? 0 : headerEnd + 4;
      inBody_ = true;
      wanted = bodyStart + std::min(*bodyLeft_, size - bodyStart);
      *bodyLeft_ -= wanted - bodyStart;
    }
  }
  std::size_t written = 0;
  while (written < wanted) {
    const ssize_t sent = ::send(socket_, from + written, wanted - written, MSG_NOSIGNAL);
    if (sent >= 0) {
      written += static_cast<std::size_t>(sent);
    } else if (errno != EINTR &&
               ((errno != EAGAIN && errno != EWOULDBLOCK) || !waitFor(POLLOUT, ioPatience))) {
      lastRequest_ = true;
      return -1;
    }
  }
  if (wanted < size) {
    refuse();
    return -1;
  }
  return static_cast<ssize_t>(size);
}

void Connection::refuse() noexcept {
  lastRequest_ = true;
  shutdown();
}

bool Connection::hasClient() const noexcept {
  char byte = 0;
  const ssize_t got = ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK));
}

void Connection::drain() {
  constexpr std::chrono::milliseconds patience{1000};
  constexpr std::size_t most = 64 * 1024 * 1024;
  ::shutdown(socket_, SHUT_WR);
  for (std::size_t drained = 0; drained < most;) {
    const ssize_t got = fill(patience);
    if (got <= 0) break;
    drained += static_cast<std::size_t>(got);
  }
}

void Connection::shutdown() noexcept {
  ::shutdown(socket_, SHUT_RDWR);
}

}  // namespace zavelo::sandbox

#include "zavelo/platform/curl_descriptors_internal.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>

namespace zavelo::detail {

namespace {

bool isOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) >= 0;
}

/// Like curl's: one of a pair of nameless local sockets, not marked yet. Other threads may open
/// descriptors at the same time, which are not ours to mark, so this asks for what is rare in apps.
bool isWakeUpEnd(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFD);
  if (flags < 0 || (flags & FD_CLOEXEC) != 0) return false;
  sockaddr_un name{};
  socklen_t size = sizeof name;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&name), &size) != 0) return false;
  return name.sun_family == AF_UNIX && size <= offsetof(sockaddr_un, sun_path);
}

}  // namespace

UninheritedDescriptors::UninheritedDescriptors() noexcept {
  first_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (first_ < 0) return;
  close(first_);
  for (std::size_t i = 0; i < open_.size(); ++i) open_[i] = isOpen(first_ + static_cast<int>(i));
}

UninheritedDescriptors::~UninheritedDescriptors() {
  if (first_ < 0) return;
  for (std::size_t i = 0; i < open_.size(); ++i) {
    const int descriptor = first_ + static_cast<int>(i);
    if (!open_[i] && isWakeUpEnd(descriptor)) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
}

}  // namespace zavelo::detail

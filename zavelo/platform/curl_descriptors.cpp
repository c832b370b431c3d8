#include "zavelo/platform/curl_descriptors_internal.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>

namespace zavelo::detail {

namespace {

bool isOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) >= 0;
}

/// Like curl's: a pipe or socket that does not block, not marked yet. Another thread of the app may
/// open descriptors at the same time, and those are the app's affair.
bool isWakeUpEnd(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFD);
  const int mode = fcntl(descriptor, F_GETFL);
  struct stat kind {};
  if (flags < 0 || (flags & FD_CLOEXEC) != 0) return false;
  if (mode < 0 || fstat(descriptor, &kind) != 0) return false;
  return S_ISSOCK(kind.st_mode) || S_ISFIFO(kind.st_mode);
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

#include "tools/zavelo/terminal/input_reader.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace zavelo::command {
namespace {

int eventDescriptor() {
  const int descriptor = eventfd(0, EFD_CLOEXEC);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  return descriptor;
}

/// What there is; nothing at the end, which a failure is as well.
std::string readPiece() {
  std::array<char, 4096> piece{};
  ssize_t got = 0;
  do {
    got = ::read(STDIN_FILENO, piece.data(), piece.size());
  } while (got < 0 && errno == EINTR);
  return {piece.data(), static_cast<std::size_t>(got > 0 ? got : 0)};
}

}  // namespace

InputReader::InputReader(std::shared_ptr<Queue> queue, std::function<void(std::string)> read)
    : queue_(std::move(queue)),
      read_(std::move(read)),
      stopping_(eventDescriptor()),
      thread_([this] { work(); }) {}

InputReader::~InputReader() {
  {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
  }
  changed_.notify_one();
  eventfd_write(stopping_, 1);
  thread_.join();
  close(stopping_);
}

void InputReader::more() {
  {
    const std::lock_guard lock(mutex_);
    isAsked_ = true;
  }
  changed_.notify_one();
}

void InputReader::work() {
  while (waitUntilAsked() && waitForInput()) {
    std::string piece = readPiece();
    const bool isEnd = piece.empty();
    queue_->post([read = read_, piece = std::move(piece)] { read(piece); });
    if (isEnd) return;
  }
}

bool InputReader::waitUntilAsked() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return isAsked_ || isStopped_; });
  isAsked_ = false;
  return !isStopped_;
}

bool InputReader::waitForInput() const {
  std::array<pollfd, 2> sources{{{STDIN_FILENO, POLLIN, 0}, {stopping_, POLLIN, 0}}};
  while (poll(sources.data(), sources.size(), -1) < 0 && errno == EINTR) {
  }
  return sources[1].revents == 0;
}

}  // namespace zavelo::command

#include "tools/zavelo/demo/child_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <utility>

extern char** environ;

namespace zavelo::command {
namespace {

struct Pipe {
  int reading = -1;
  int writing = -1;
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) reading = ends[0], writing = ends[1];
  }
  ~Pipe() {
    closeEnd(reading);
    closeEnd(writing);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  [[nodiscard]] bool isOpen() const { return reading >= 0; }
  static void closeEnd(int& end) {
    if (end >= 0) ::close(std::exchange(end, -1));
  }
};

/// Standard streams from pipes, and no signal blocked or ignored.
class SpawnSettings {
 public:
  SpawnSettings(const Pipe& input, const Pipe& output, const Pipe& error) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, input.reading, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, output.writing, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, error.writing, STDERR_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    sigset_t ignored = none;
    sigaddset(&ignored, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &ignored);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

std::vector<char*> environmentWithoutOurs() {
  std::vector<char*> kept;
  for (char** variable = environ; *variable != nullptr; ++variable)
    if (!std::string_view(*variable).starts_with("ZAVELO_")) kept.push_back(*variable);
  kept.push_back(nullptr);
  return kept;
}

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t wrote = ::write(descriptor, text.data(), text.size());
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return;  // it reads no more: what it says about that is what counts
    text.remove_prefix(static_cast<std::size_t>(wrote));
  }
}

}  // namespace

Result<std::unique_ptr<ChildProcess>, std::string> ChildProcess::start(
    const std::filesystem::path& program, const std::vector<std::string>& arguments) {
  Pipe in;
  Pipe out;
  Pipe err;
  if (!in.isOpen() || !out.isOpen() || !err.isOpen())
    return Failure{std::string("cannot make a pipe: ") + std::strerror(errno)};
  std::string name = program.string();
  std::vector<std::string> copies = arguments;
  std::vector<char*> texts{name.data()};
  for (auto& copy : copies) texts.push_back(copy.data());
  texts.push_back(nullptr);

  std::unique_ptr<ChildProcess> child(new ChildProcess);
  const SpawnSettings settings(in, out, err);
  pid_t pid = 0;
  const int error = posix_spawn(&pid, name.c_str(), &settings.actions_, &settings.attributes_,
                                texts.data(), environmentWithoutOurs().data());
  if (error != 0) return Failure{"cannot start " + name + ": " + std::strerror(error)};
  child->pid_ = pid;
  child->output_.descriptor = std::exchange(out.reading, -1);
  child->error_.descriptor = std::exchange(err.reading, -1);
  child->input_ = std::exchange(in.writing, -1);
  return child;
}

ChildProcess::~ChildProcess() {
  Pipe::closeEnd(input_);
  signal(SIGKILL);
  reap();
}

void ChildProcess::write(std::string_view text) {
  writeAll(input_, text);
}

std::string ChildProcess::nextLine() {
  while (output_.text.find('\n', read_) == std::string::npos && readSome()) {
  }
  const auto end = std::min(output_.text.find('\n', read_), output_.text.size());
  auto line = output_.text.substr(read_, end - read_);
  read_ = std::min(end + 1, output_.text.size());
  return line;
}

ChildOutcome ChildProcess::wait() {
  Pipe::closeEnd(input_);
  while (readSome()) {
  }
  return {reap(), std::move(output_.text), std::move(error_.text)};
}

void ChildProcess::signal(int number) {
  const std::lock_guard lock(mutex_);
  if (pid_ != 0) kill(pid_, number);
}

// The number stays the process's own until the lock is held, so that no signal goes astray.
int ChildProcess::reap() {
  if (pid_ == 0) return 0;
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
  }
  const std::lock_guard lock(mutex_);
  int status = 0;
  waitpid(std::exchange(pid_, 0), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool ChildProcess::readSome() {
  std::array<pollfd, 2> streams{{{output_.descriptor, POLLIN, 0}, {error_.descriptor, POLLIN, 0}}};
  if (output_.descriptor < 0 && error_.descriptor < 0) return false;
  if (poll(streams.data(), streams.size(), -1) < 0) return errno == EINTR;
  if (streams[0].revents != 0) output_.readSome();
  if (streams[1].revents != 0) error_.readSome();
  return true;
}

ChildProcess::Stream::~Stream() {
  close();
}

void ChildProcess::Stream::close() {
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

void ChildProcess::Stream::readSome() {
  std::array<char, 4096> chunk{};
  const ssize_t got = ::read(descriptor, chunk.data(), chunk.size());
  if (got > 0)
    text.append(chunk.data(), static_cast<std::size_t>(got));
  else if (got == 0 || errno != EINTR)
    close();
}

}  // namespace zavelo::command

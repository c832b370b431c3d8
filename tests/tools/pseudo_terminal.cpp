#include "tests/tools/pseudo_terminal.hpp"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace zavelo::command {
namespace {

using namespace std::chrono_literals;

template <class Condition>
bool waitUntil(Condition holds) {
  const auto deadline = std::chrono::steady_clock::now() + 60s;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

}  // namespace

PseudoTerminal::PseudoTerminal(std::vector<std::string> arguments, unsigned short columns) {
  const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) throw std::runtime_error("openpty");
  std::vector<char*> words;
  for (auto& each : arguments) words.push_back(each.data());
  words.push_back(nullptr);
  process_ = fork();
  if (process_ == 0) {
    setsid();
    ioctl(slave_, TIOCSCTTY, 0);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(slave_, stream);
    close(master_);
    close(slave_);
    // A session whose leader is suspended would be an orphan, which cannot be.
    const pid_t program = fork();
    if (program != 0) {
      setpgid(program, program);
      ::signal(SIGTTOU, SIG_IGN);
      tcsetpgrp(STDIN_FILENO, program);
      int status = 0;
      while (waitpid(program, &status, 0) < 0) {
      }
      _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    }
    setpgid(0, 0);
    ::signal(SIGTTOU, SIG_IGN);
    tcsetpgrp(STDIN_FILENO, getpid());
    ::signal(SIGTTOU, SIG_DFL);
    execv(words[0], words.data());
    _exit(127);
  }
  fcntl(master_, F_SETFD, FD_CLOEXEC);
  fcntl(slave_, F_SETFD, FD_CLOEXEC);
}

PseudoTerminal::~PseudoTerminal() {
  if (process_ != 0) {
    signal(SIGKILL);
    wait();
  }
  close(master_);
  close(slave_);
}

void PseudoTerminal::type(std::string_view keys) const {
  while (!keys.empty()) {
    const auto written = write(master_, keys.data(), keys.size());
    if (written <= 0) return;
    keys.remove_prefix(static_cast<std::size_t>(written));
  }
}

void PseudoTerminal::signal(int number) const {
  const pid_t foreground = tcgetpgrp(master_);
  if (foreground > 1) kill(-foreground, number);
}

bool PseudoTerminal::readSome() {
  std::array<char, 4096> piece{};
  pollfd source{master_, POLLIN, 0};
  if (poll(&source, 1, 10) <= 0) return true;
  const auto got = read(master_, piece.data(), piece.size());
  if (got > 0) output_.append(piece.data(), static_cast<std::size_t>(got));
  return got > 0;
}

bool PseudoTerminal::shows(std::string_view text) {
  return waitUntil([&] {
    return output_.find(text) != std::string::npos ||
           (readSome() && output_.find(text) != std::string::npos);
  });
}

bool PseudoTerminal::isCanonical() const {
  termios modes{};
  tcgetattr(slave_, &modes);
  return (modes.c_lflag & ICANON) != 0;
}

bool PseudoTerminal::becomesCanonical(bool canonical) {
  return waitUntil([&] { return readSome() && isCanonical() == canonical; });
}

bool PseudoTerminal::isSuspended() const {
  return waitUntil([&] {
    const std::string path = "/proc/" + std::to_string(tcgetpgrp(master_)) + "/stat";
    std::array<char, 256> text{};
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const auto got = read(file, text.data(), text.size());
    close(file);
    const std::string_view stat(text.data(), static_cast<std::size_t>(got > 0 ? got : 0));
    return stat.find(") T ") != std::string_view::npos;
  });
}

int PseudoTerminal::wait() {
  int status = 0;
  waitUntil([&] {
    readSome();  // a terminal that is full would hold it up
    return waitpid(process_, &status, WNOHANG) != 0;
  });
  for (auto before = output_.size(); readSome() && output_.size() > before;)
    before = output_.size();
  process_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> PseudoTerminal::progressLines() const {
  constexpr std::string_view anew = "\r\x1b[K";
  std::vector<std::string> lines;
  for (auto at = output_.find(anew); at != std::string::npos; at = output_.find(anew, at)) {
    at += anew.size();
    const auto line = output_.substr(at, output_.find('\r', at) - at);
    if (line.find(" / ") != std::string::npos) lines.push_back(line);
  }
  return lines;
}

}  // namespace zavelo::command

#include "tools/zavelo/terminal/key_input.hpp"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace zavelo::command {
namespace {

// SIGINT and SIGTERM are not among them: see `Interruption`.
constexpr std::array fatalSignals{SIGHUP, SIGQUIT, SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
                                  SIGFPE, SIGSEGV, SIGXCPU, SIGXFSZ, SIGSYS};

// What signal handlers need. Written before they are installed.
termios usual;
termios keys;
std::array<struct sigaction, fatalSignals.size()> fatalBefore;
std::atomic<bool> isOn;
static_assert(std::atomic<bool>::is_always_lock_free);

bool isInForeground() {
  return tcgetpgrp(STDIN_FILENO) == getpgrp();
}

// In the background the terminal is another process's, and setting it would suspend this one.
void apply(const termios& modes) {
  while (isInForeground() && tcsetattr(STDIN_FILENO, TCSADRAIN, &modes) != 0 && errno == EINTR) {
  }
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

void onFatal(int signal) {
  if (isOn) apply(usual);
  for (std::size_t i = 0; i < fatalSignals.size(); ++i)
    if (fatalSignals[i] == signal) sigaction(signal, &fatalBefore[i], nullptr);
  raise(signal);
}

void onContinue(int) {
  const int before = errno;
  if (isOn) apply(keys);
  errno = before;
}

void onSuspend(int signal) {
  const int before = errno;
  if (isOn) apply(usual);
  handle(signal, SIG_DFL);
  raise(signal);
  sigset_t suspension;
  sigemptyset(&suspension);
  sigaddset(&suspension, signal);
  pthread_sigmask(SIG_UNBLOCK, &suspension, nullptr);  // the process is suspended here
  handle(signal, &onSuspend);
  errno = before;
}

}  // namespace

KeyInput::KeyInput() : isTerminal_(tcgetattr(STDIN_FILENO, &usual) == 0 && isInForeground()) {
  if (!isTerminal_) return;
  keys = usual;
  keys.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
  keys.c_cc[VMIN] = 1;
  keys.c_cc[VTIME] = 0;
  for (std::size_t i = 0; i < fatalSignals.size(); ++i) {
    sigaction(fatalSignals[i], nullptr, &fatalBefore[i]);
    if (fatalBefore[i].sa_handler != SIG_IGN) handle(fatalSignals[i], &onFatal);
  }
  handle(SIGCONT, &onContinue);
  handle(SIGTSTP, &onSuspend);
  isOn = true;
  apply(keys);
}

KeyInput::~KeyInput() {
  if (!isTerminal_) return;
  restore();
  for (std::size_t i = 0; i < fatalSignals.size(); ++i)
    sigaction(fatalSignals[i], &fatalBefore[i], nullptr);
  handle(SIGCONT, SIG_DFL);
  handle(SIGTSTP, SIG_DFL);
}

void KeyInput::restore() {
  if (isOn.exchange(false)) apply(usual);
}

}  // namespace zavelo::command

#include "tools/zavelo/terminal/progress_line.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace zavelo::command {
namespace {

// To the line's beginning, and clear it to its end (ECMA-48: CR, EL).
constexpr const char* const anew = "\r\x1b[K";
constexpr std::size_t usualWidth = 80;

}  // namespace

std::size_t terminalWidth(int descriptor) {
  winsize size{};
  const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : usualWidth;
}

ProgressLine::ProgressLine() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

ProgressLine::~ProgressLine() {
  if (isShown_) std::fputs(anew, stderr);
}

std::size_t ProgressLine::room() {
  return terminalWidth(STDERR_FILENO) - 1;
}

void ProgressLine::show(std::string_view text) {
  if (!isTerminal_) return;
  isShown_ = true;
  std::fputs((anew + std::string(text)).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace zavelo::command

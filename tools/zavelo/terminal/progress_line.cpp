#include "tools/zavelo/terminal/progress_line.hpp"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace zavelo::command {
namespace {

// To the line's beginning, and clear it to its end (ECMA-48: CR, EL).
constexpr const char* const anew = "\r\x1b[K";

}  // namespace

ProgressLine::ProgressLine() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

ProgressLine::~ProgressLine() {
  if (isShown_) std::fputs(anew, stderr);
}

void ProgressLine::show(std::string_view text) {
  if (!isTerminal_) return;
  isShown_ = true;
  std::fputs((anew + std::string(text)).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace zavelo::command

#include "tools/zavelo/terminal/story_screen.hpp"

#include <unistd.h>

#include <cstdio>

namespace zavelo::command {

StoryScreen::StoryScreen() : isTerminal_(isatty(STDOUT_FILENO) == 1) {}

void StoryScreen::print(std::string_view line) {
  const std::lock_guard lock(mutex_);
  erase();
  std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
  draw();
  std::fflush(stdout);
}

void StoryScreen::setText(const std::string& text) {
  const std::lock_guard lock(mutex_);
  erase();
  clock_ = text;
  draw();
  std::fflush(stdout);
}

void StoryScreen::showClock(bool isShown) {
  const std::lock_guard lock(mutex_);
  erase();
  isShown_ = isShown;
  draw();
  std::fflush(stdout);
}

void StoryScreen::erase() {
  if (isTerminal_ && isShown_) std::fputs("\r\x1b[K", stdout);
}

void StoryScreen::draw() {
  if (isTerminal_ && isShown_) std::printf("on air %s", clock_.c_str());
}

}  // namespace zavelo::command

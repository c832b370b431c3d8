#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "zavelo/platform/text_label.hpp"

namespace zavelo::command {

/// The lines of a story on standard output, and below them, on a terminal, how long somebody has
/// been on air. Any thread.
class StoryScreen final : public TextLabel {
 public:
  StoryScreen();
  ~StoryScreen() override { showClock(false); }

  /// The line, above the clock.
  void print(std::string_view line);
  /// What the clock says, in sight or not.
  void setText(const std::string& text) override;
  void showClock(bool isShown);

 private:
  void erase();
  void draw();

  const bool isTerminal_;
  std::mutex mutex_;
  std::string clock_;
  bool isShown_ = false;
};

}  // namespace zavelo::command

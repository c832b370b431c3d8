#pragma once

#include <string_view>

namespace zavelo::command {

/// One line of standard error that says how far something is, and is gone when it is done. Nothing
/// is written where that is no terminal.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(std::string_view text);

 private:
  const bool isTerminal_;
  bool isShown_ = false;
};

}  // namespace zavelo::command

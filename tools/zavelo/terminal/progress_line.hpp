#pragma once

#include <cstddef>
#include <string_view>

namespace zavelo::command {

/// The columns of the terminal, or the usual 80.
[[nodiscard]] std::size_t terminalWidth(int descriptor);

/// One line of standard error that says how far something is, and is gone when it is done. Nothing
/// is written where that is no terminal.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// The text must fit in `room` columns.
  void show(std::string_view text);
  /// The columns that a line may fill now: the terminal's but one, where a cursor would wrap.
  [[nodiscard]] static std::size_t room();

 private:
  const bool isTerminal_;
  bool isShown_ = false;
};

}  // namespace zavelo::command

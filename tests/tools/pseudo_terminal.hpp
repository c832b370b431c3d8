#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace zavelo::command {

/// A program on a terminal of its own, as the leader of its foreground. Killed at the end.
class PseudoTerminal {
 public:
  PseudoTerminal(std::vector<std::string> arguments, unsigned short columns);
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  void type(std::string_view keys) const;
  void signal(int number) const;
  /// Waits until the text has been written.
  [[nodiscard]] bool shows(std::string_view text);
  /// Whether the terminal collects lines, as it does for a shell.
  [[nodiscard]] bool isCanonical() const;
  [[nodiscard]] bool becomesCanonical(bool canonical);
  /// Waits until the program is suspended.
  [[nodiscard]] bool isSuspended() const;
  /// Waits for the exit status, or 128 and the signal that ended it.
  int wait();

  [[nodiscard]] const std::string& output() const { return output_; }
  /// What was written from a "\r" and clearing of a line on, to the next.
  [[nodiscard]] std::vector<std::string> progressLines() const;

 private:
  /// False when the program has closed its terminal.
  bool readSome();

  pid_t process_ = 0;  // 0 once it was waited for
  int master_ = -1;
  int slave_ = -1;  // its modes outlive the program
  std::string output_;
};

}  // namespace zavelo::command

#pragma once

namespace zavelo::command {

/// While it lives, the terminal of the standard input passes keys on as they are typed and shows
/// none of them. Ctrl-C and Ctrl-Z keep their meaning; the terminal is as it was before while the
/// process is suspended, and after a signal that ends it. At most one at a time.
class KeyInput {
 public:
  KeyInput();
  ~KeyInput();
  KeyInput(const KeyInput&) = delete;
  KeyInput& operator=(const KeyInput&) = delete;

  /// Whether keys come from a terminal, in whose foreground the process is.
  [[nodiscard]] bool isTerminal() const { return isTerminal_; }
  /// The terminal is as it was before, for good; does nothing while there is no `KeyInput`. Any
  /// thread.
  static void restore();

 private:
  bool isTerminal_;
};

}  // namespace zavelo::command

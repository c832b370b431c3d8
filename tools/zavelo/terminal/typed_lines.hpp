#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zavelo::command {

/// Cuts what is read into lines. One that is longer than 1 MiB is cut there.
class TypedLines {
 public:
  [[nodiscard]] std::vector<std::string> take(std::string_view bytes);
  /// The line that the end of the input ends; empty when there is none.
  [[nodiscard]] std::string last();

 private:
  std::string begun_;
};

/// The escape sequences (ECMA-48: ESC [ parameters final) that keys like the arrows are.
class EscapeSequence {
 public:
  /// Whether the byte belongs to one.
  bool take(char byte);
  /// The last byte of the sequence if the byte that was taken has completed one; else 0.
  [[nodiscard]] char finished() const { return finished_; }

 private:
  enum class State { none, begun, parameters };
  State state_ = State::none;
  char finished_ = 0;
};

/// The line that a person is typing on a terminal that only passes keys on.
class LineEditor {
 public:
  /// The lines that these keys complete. Backspace takes a character as a person sees it, Ctrl-U
  /// all of the line, Ctrl-W a word; keys that move are passed over.
  [[nodiscard]] std::vector<std::string> take(std::string_view keys);
  [[nodiscard]] const std::string& text() const { return text_; }
  /// Ctrl-D was typed in an empty line.
  [[nodiscard]] bool isEnded() const { return isEnded_; }

 private:
  void eraseCharacter();
  void eraseWord();

  std::string text_;
  EscapeSequence escape_;
  bool isEnded_ = false;
};

}  // namespace zavelo::command

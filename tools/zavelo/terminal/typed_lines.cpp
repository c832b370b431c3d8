#include "tools/zavelo/terminal/typed_lines.hpp"

#include <algorithm>
#include <utility>

#include "zavelo/platform/unicode.hpp"

namespace zavelo::command {
namespace {

constexpr std::size_t longestLine = std::size_t{1024} * 1024;

constexpr char backspace = '\b';
constexpr char del = '\x7f';
constexpr char escape = '\x1b';
constexpr char controlD = '\x04';
constexpr char controlU = '\x15';
constexpr char controlW = '\x17';

bool isControl(char key) {
  return static_cast<unsigned char>(key) < 0x20;
}

}  // namespace

std::vector<std::string> TypedLines::take(std::string_view bytes) {
  std::vector<std::string> lines;
  for (const char byte : bytes) {
    if (byte == '\n' || begun_.size() == longestLine) lines.push_back(last());
    if (byte != '\n') begun_ += byte;
  }
  return lines;
}

std::string TypedLines::last() {
  if (begun_.ends_with('\r')) begun_.pop_back();
  return std::exchange(begun_, {});
}

bool EscapeSequence::take(char byte) {
  finished_ = 0;
  switch (state_) {
    case State::none:
      if (byte == escape) state_ = State::begun;
      return byte == escape;
    case State::begun:
      state_ = byte == '[' || byte == 'O' ? State::parameters : State::none;
      return true;
    case State::parameters:
      if (byte < '@' || byte > '~') return true;
      state_ = State::none;
      finished_ = byte;
      return true;
  }
  return false;
}

std::vector<std::string> LineEditor::take(std::string_view keys) {
  std::vector<std::string> lines;
  for (const char key : keys) {
    if (escape_.take(key)) continue;
    if (key == '\n' || key == '\r')
      lines.push_back(std::exchange(text_, {}));
    else if (key == backspace || key == del)
      eraseCharacter();
    else if (key == controlU)
      text_.clear();
    else if (key == controlW)
      eraseWord();
    else if (key == controlD)
      isEnded_ = isEnded_ || text_.empty();
    else if (key == '\t')
      text_ += ' ';
    else if (!isControl(key) && text_.size() < longestLine)
      text_ += key;
  }
  return lines;
}

void LineEditor::eraseCharacter() {
  std::size_t at = 0;
  for (std::size_t next = 0; next < text_.size();) {
    at = next;
    next += unicode::firstCharacterSize(std::string_view(text_).substr(next));
  }
  text_.resize(at);
}

void LineEditor::eraseWord() {
  while (text_.ends_with(' ')) text_.pop_back();
  text_.resize(text_.find_last_of(' ') + 1);
}

}  // namespace zavelo::command

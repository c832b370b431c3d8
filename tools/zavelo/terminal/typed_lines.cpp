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

std::vector<std::string> LineEditor::take(std::string_view keys) {
  std::vector<std::string> lines;
  for (const char key : keys) {
    if (isInEscape(key)) continue;
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

bool LineEditor::isInEscape(char key) {
  switch (escape_) {
    case Escape::none:
      if (key == escape) escape_ = Escape::begun;
      return key == escape;
    case Escape::begun:
      escape_ = key == '[' || key == 'O' ? Escape::parameters : Escape::none;
      return true;
    case Escape::parameters:
      if (key >= '@' && key <= '~') escape_ = Escape::none;
      return true;
  }
  return false;
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

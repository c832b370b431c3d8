#include "tools/zavelo/chat/chat_screen.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "tools/zavelo/terminal/progress_line.hpp"
#include "tools/zavelo/terminal/readable.hpp"

namespace zavelo::command {
namespace {

// To the line's beginning, and clear it to its end (ECMA-48: CR, EL).
constexpr std::string_view anew = "\r\x1b[K";
void toTerminal(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

}  // namespace

void ChatScreen::setText(const std::string& text) {
  clock_ = text;
  if (isShown_) show();
}

void ChatScreen::setTyped(std::string_view text) {
  typed_ = text;
  if (isShown_) show();
}

void ChatScreen::hide() {
  if (isShown_) toTerminal(anew);
  isShown_ = false;
}

void ChatScreen::show() {
  isShown_ = true;
  const std::size_t width = terminalWidth(STDOUT_FILENO);
  // Half of the line is left for what is typed.
  const std::size_t noteRoom = width / 2 - std::min(width / 2, clock_.size() + 6);
  const std::string note = note_().substr(0, noteRoom);
  const std::string before = clock_ + (note.empty() ? "" : " (" + note + ")") + " > ";
  const std::size_t room = width > before.size() + 1 ? width - before.size() - 1 : 0;
  const std::string typed = printable(typed_);
  toTerminal(std::string(anew) + before.substr(0, width - 1) +
             std::string(fittingEnd(typed, room)));
}

// No table of widths: what is not ASCII may take two columns.
std::string_view fittingEnd(std::string_view text, std::size_t columns) {
  std::size_t begin = text.size();
  for (std::size_t at = text.size(), used = 0; at > 0;) {
    --at;
    const auto byte = static_cast<unsigned char>(text[at]);
    if ((byte & 0xC0U) == 0x80 && at > 0) continue;  // inside a code point (RFC 3629)
    used += byte < 0x80 ? 1 : 2;
    if (used > columns) break;
    begin = at;
  }
  return text.substr(begin);
}

}  // namespace zavelo::command

#include "tools/zavelo/terminal/standard_input.hpp"

#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/zavelo/terminal/interruption.hpp"

namespace zavelo::command {
namespace {

constexpr std::size_t sizeLimit = std::size_t{64} * 1024 * 1024;

/// While it lives, the terminal shows nothing of what is typed; an interruption, too, ends that.
class Unseen {
 public:
  Unseen() : isTerminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!isTerminal_) return;
    restoring_.emplace([before = before_] {
      tcsetattr(STDIN_FILENO, TCSANOW, &before);
      Interruption::endProcess();
    });
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    quiet.c_lflag |= ECHONL;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  ~Unseen() {
    if (isTerminal_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  }
  Unseen(const Unseen&) = delete;
  Unseen& operator=(const Unseen&) = delete;

  [[nodiscard]] bool isTerminal() const { return isTerminal_; }

 private:
  termios before_{};
  bool isTerminal_;
  std::optional<OnSignal> restoring_;
};

/// Reads until the end or, if asked to, the end of a line. Byte by byte, so that the next reader
/// finds what follows the line.
Result<std::string, std::string> read(bool wholeInput) {
  std::string text;
  for (;;) {
    char byte = 0;
    const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0)
      return Failure{std::string("cannot read the standard input: ") + std::strerror(errno)};
    if (got == 0 && text.empty()) return Failure{std::string("the standard input is empty")};
    if (got == 0 || (!wholeInput && byte == '\n')) return text;
    if (text.size() == sizeLimit)
      return Failure{std::string("the standard input is longer than 64 MiB")};
    text += byte;
  }
}

}  // namespace

Result<std::string, std::string> readSecretLine(std::string_view what) {
  const Unseen unseen;
  if (unseen.isTerminal()) {
    const std::string question = std::string(what) + ": ";
    std::fputs(question.c_str(), stderr);
  }
  return read(false);
}

Result<std::string, std::string> readStandardInput() {
  return read(true);
}

}  // namespace zavelo::command

#include "tools/zavelo/terminal/file_replacement.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace zavelo::command {
namespace {

namespace fs = std::filesystem;

/// A new file beside another one. Goes again unless it has taken that one's place.
class FileBeside {
 public:
  explicit FileBeside(const fs::path& file)
      : target_(file), name_(file.string() + ".XXXXXX"), number_(::mkstemp(name_.data())) {}
  ~FileBeside() {
    if (number_ < 0) return;
    ::close(number_);
    if (!isKept_) ::unlink(name_.c_str());
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  /// False with errno when it cannot be done.
  bool takePlaceWith(std::string_view content) {
    isKept_ = number_ >= 0 && write(content) && ::fsync(number_) == 0 &&
              std::rename(name_.c_str(), target_.c_str()) == 0;
    return isKept_;
  }

 private:
  bool write(std::string_view content) const {
    while (!content.empty()) {
      const auto written = ::write(number_, content.data(), content.size());
      if (written < 0 && errno != EINTR) return false;
      if (written > 0) content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }

  fs::path target_;
  std::string name_;
  int number_;
  bool isKept_ = false;
};

}  // namespace

Status<std::string> replaceFile(const fs::path& file, std::string_view content) {
  const std::string failure = "cannot write " + file.string() + ": ";
  std::error_code error;
  const auto status = fs::status(file, error);
  if (fs::is_directory(status)) return Failure{failure + "it is a folder"};
  // A device or a pipe must not be replaced by a file.
  if (fs::exists(status) && !fs::is_regular_file(status)) return Failure{failure + "it is no file"};
  // Where a link leads is replaced, not the link.
  const fs::path target =
      fs::is_symlink(fs::symlink_status(file, error)) ? fs::weakly_canonical(file, error) : file;
  if (FileBeside(target).takePlaceWith(content)) return noFailure;
  return Failure{failure + std::generic_category().message(errno)};
}

}  // namespace zavelo::command

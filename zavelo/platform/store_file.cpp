#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include "zavelo/platform/key_value_store.hpp"
#include "zavelo/platform/store_file_internal.hpp"

namespace zavelo::detail {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const fs::path& path, std::string_view what, const std::error_code& error) {
  throw StoreError{std::string(what) + " " + path.string() + ": " + error.message()};
}

std::error_code lastError() {
  return {errno, std::generic_category()};
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int number() const noexcept { return number_; }

 private:
  int number_;
};

/// The folder is what is locked, not the file: closing a descriptor of the file would take SQLite's
/// own locks on it away (POSIX fcntl).
void lockFolder(const Descriptor& folder, const fs::path& path) {
  constexpr int attempts = 100;
  for (int i = 0; i < attempts; ++i) {
    if (flock(folder.number(), LOCK_EX | LOCK_NB) == 0) return;
    if (errno != EWOULDBLOCK && errno != EINTR) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  fail(path, "cannot set aside the damaged store", lastError());
}

}  // namespace

std::optional<StoreFile::Identity> StoreFile::identity() const {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return std::nullopt;
  return Identity{status.st_dev, status.st_ino};
}

bool StoreFile::hasJournal() const {
  return access((path_.string() + "-journal").c_str(), F_OK) == 0;
}

StoreFile::Identity StoreFile::prepare() const {
  if (path_.empty()) throw StoreError{"there is no folder for the store: HOME is not set"};
  // What was there a moment ago may have been set aside by another process.
  constexpr int attempts = 5;
  for (int i = 1;; ++i) {
    makeIfMissing();
    if (const auto found = identity()) return *found;
    if (i == attempts) fail(path_, "cannot reach the store", lastError());
  }
}

void StoreFile::makeIfMissing() const {
  std::error_code error;
  const auto status = fs::status(path_, error);
  if (status.type() == fs::file_type::not_found) {
    if (path_.has_parent_path()) fs::create_directories(path_.parent_path(), error);
    const Descriptor created(open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (created.number() < 0 && errno != EEXIST)
      fail(path_, "cannot create the store", lastError());
  } else if (status.type() == fs::file_type::none) {
    fail(path_, "cannot reach the store", error);
  } else if (status.type() != fs::file_type::regular) {
    throw StoreError{"the store " + path_.string() + " is not a regular file"};
  }
}

StoreFile::Opened::Opened(const StoreFile& file) : path_(file.path_) {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return;
  if (chmod(path_.c_str(), status.st_mode | S_IRUSR | S_IWUSR) == 0) mode_ = status.st_mode;
}

StoreFile::Opened::~Opened() {
  if (mode_) chmod(path_.c_str(), *mode_);
}

bool StoreFile::belongsToOther(unsigned applicationId) const {
  // https://www.sqlite.org/fileformat.html, section 1.3
  constexpr std::string_view magic("SQLite format 3\0", 16);
  constexpr std::size_t applicationIdOffset = 68;
  std::array<char, 100> header{};
  std::ifstream(path_, std::ios::binary).read(header.data(), header.size());
  unsigned owner = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    owner = owner << 8 | static_cast<unsigned char>(header[applicationIdOffset + i]);
  }
  return std::string_view(header.data(), magic.size()) == magic && owner != 0 &&
         owner != applicationId;
}

std::optional<fs::path> StoreFile::setAside(const Identity& seen) const {
  const auto parent = path_.has_parent_path() ? path_.parent_path() : fs::path(".");
  const Descriptor folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  lockFolder(folder, path_);
  if (identity() != seen) return std::nullopt;
  const auto kept = freeName();
  // The file itself last: what SQLite keeps beside it must not meet the new file.
  for (const auto* suffix : {"-journal", "-wal", "-shm", ""}) {
    auto from = path_;
    auto to = kept;
    std::error_code error;
    fs::rename(from += suffix, to += suffix, error);
    if (error && error != std::errc::no_such_file_or_directory) {
      fail(path_, "cannot set aside the damaged store", error);
    }
  }
  return kept;
}

fs::path StoreFile::freeName() const {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 32> stamp{};
  std::strftime(stamp.data(), stamp.size(), "%Y%m%dT%H%M%SZ", &utc);
  auto base = path_;
  base += std::string(".damaged-") + stamp.data();
  auto name = base;
  std::error_code error;
  for (int i = 2; fs::exists(fs::symlink_status(name, error)); ++i) {
    (name = base) += "-" + std::to_string(i);
  }
  return name;
}

}  // namespace zavelo::detail

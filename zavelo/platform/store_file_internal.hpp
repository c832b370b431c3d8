#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>

namespace zavelo::detail {

/// The file of a store, as the file system sees it. Members throw StoreError.
class StoreFile {
 public:
  /// Tells a file from another one that has taken its name.
  struct Identity {
    dev_t device;
    ino_t inode;
    bool operator==(const Identity&) const = default;
  };

  explicit StoreFile(std::filesystem::path path) : path_(std::move(path)) {}

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
  /// Empty when there is no such file.
  [[nodiscard]] std::optional<Identity> identity() const;

  /// Whether a change of it is under way, or was when its process ended.
  [[nodiscard]] bool hasJournal() const;

  /// Makes sure that there is a regular file, with the folders above it; a new one has mode 0600.
  Identity prepare() const;

  /// Lets the file's owner, when that is this process, read and write it, and gives it its mode
  /// back when it is destroyed.
  class Opened {
   public:
    explicit Opened(const StoreFile& file);
    ~Opened();
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

   private:
    const std::filesystem::path& path_;
    std::optional<mode_t> mode_;  ///< to be restored
  };

  /// Whether it is a database that names another application than `applicationId`.
  [[nodiscard]] bool belongsToOther(unsigned applicationId) const;

  /// Moves the file and what SQLite keeps beside it out of the way and returns its new path. Empty
  /// when it is not the file `seen` any more: another process was faster.
  [[nodiscard]] std::optional<std::filesystem::path> setAside(const Identity& seen) const;

 private:
  void makeIfMissing() const;
  [[nodiscard]] std::filesystem::path freeName() const;

  std::filesystem::path path_;
};

}  // namespace zavelo::detail

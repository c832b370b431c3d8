#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/platform/key_value_store.hpp"

namespace zavelo {

/// The default store: one SQLite file of mode 0600, shared safely by several processes. It opens at
/// first use and creates the folders above it. After each change the file is the whole of it: a
/// copy of it, or a file that may only be read, can be read as a store.
///
/// A file that cannot be read as a store is set aside beside it as "<name>.damaged-<time>", whole,
/// and a new one is begun; `onSetAside` is told its path. A folder or a device given by mistake is
/// an error and stays as it is. A store that another process keeps locked is an error after a
/// second; the next call tries again.
///
/// A change that cannot be written the usual way (full disk, read-only folder, a file that its
/// owner has made read-only) is written within the pages that the file has. What cannot be written
/// at all is kept in memory (`pendingProblem`), counts for `get`, and is tried again by each later
/// call, by `flush` and when the store is destroyed, unless another process has written there
/// since.
class ZAVELO_EXPORT SqliteKeyValueStore final : public KeyValueStore {
 public:
  using SetAsideHandler = std::function<void(const std::filesystem::path& keptAs)>;

  explicit SqliteKeyValueStore(std::filesystem::path file, SetAsideHandler onSetAside = {});
  ~SqliteKeyValueStore() override;
  SqliteKeyValueStore(const SqliteKeyValueStore&) = delete;
  SqliteKeyValueStore& operator=(const SqliteKeyValueStore&) = delete;

  Result<std::optional<StoreValue>, StoreError> get(std::string_view key) override;
  Status<StoreError> set(std::string_view key, const StoreValue& value) override;
  Status<StoreError> remove(std::string_view key) override;
  [[nodiscard]] std::optional<StoreError> pendingProblem() const override;
  Status<StoreError> flush() override;

  /// Where an app that names no file keeps its store: $XDG_DATA_HOME/zavelo/store.sqlite, or
  /// ~/.local/share/zavelo/store.sqlite (XDG Base Directory Specification).
  [[nodiscard]] static std::filesystem::path defaultFile();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace zavelo

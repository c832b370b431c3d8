#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "zavelo/platform/key_value_store.hpp"

namespace zavelo {

/// The default store: one SQLite file of mode 0600 in write-ahead mode, shared safely by several
/// processes. It opens at first use and creates the folders above it.
///
/// A file that cannot be read as a store is set aside beside it as "<name>.damaged-<time>", whole,
/// and a new one is begun; `onSetAside` is told its path. A folder or a device given by mistake is
/// an error and stays as it is. A store that another process keeps locked is an error after a
/// second; the next call tries again.
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

  /// Where an app that names no file keeps its store: $XDG_DATA_HOME/zavelo/store.sqlite, or
  /// ~/.local/share/zavelo/store.sqlite (XDG Base Directory Specification).
  [[nodiscard]] static std::filesystem::path defaultFile();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace zavelo

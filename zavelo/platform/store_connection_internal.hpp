#pragma once

#include <optional>
#include <string_view>

#include "zavelo/platform/key_value_store.hpp"
#include "zavelo/platform/sqlite_database_internal.hpp"
#include "zavelo/platform/store_file_internal.hpp"

namespace zavelo::detail {

/// An open store. Members throw SqliteError, or StoreError where the file is sound but not ours.
class StoreConnection {
 public:
  /// "zvlo": tells a store from the database of another program.
  static constexpr unsigned applicationId = 0x7a766c6f;

  StoreConnection(const std::filesystem::path& file, StoreFile::Identity identity);

  [[nodiscard]] const StoreFile::Identity& identity() const noexcept { return identity_; }

  std::optional<StoreValue> get(std::string_view key);
  void set(std::string_view key, const StoreValue& value);
  void remove(std::string_view key);

 private:
  void removeEntry(std::string_view key);
  void addItem(std::string_view key, std::int64_t position, const StoreScalar& value);

  StoreFile::Identity identity_;
  SqliteDatabase database_;
  bool ready_;  ///< initialises the database before the statements are prepared
  SqliteStatement select_;
  SqliteStatement deleteItems_;
  SqliteStatement deleteEntry_;
  SqliteStatement insertEntry_;
  SqliteStatement insertItem_;
};

}  // namespace zavelo::detail

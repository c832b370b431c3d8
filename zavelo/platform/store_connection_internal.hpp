#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "zavelo/platform/key_value_store.hpp"
#include "zavelo/platform/sqlite_database_internal.hpp"
#include "zavelo/platform/store_file_internal.hpp"

namespace zavelo::detail {

/// A statement that is prepared when it is first used.
class StatementAtFirstUse {
 public:
  StatementAtFirstUse(SqliteDatabase& database, const char* sql) : database_(database), sql_(sql) {}
  [[nodiscard]] SqliteStatement& get() {
    return prepared_ ? *prepared_ : prepared_.emplace(database_, sql_);
  }

 private:
  SqliteDatabase& database_;
  const char* sql_;
  std::optional<SqliteStatement> prepared_;
};

/// An open store. Members throw SqliteError, or StoreError where the file is valid but not ours.
class StoreConnection {
 public:
  /// "zvlo": tells a store from the database of another program.
  static constexpr unsigned applicationId = 0x7a766c6f;

  /// Whether to read the whole file for damage at once: what was opened without trouble is checked
  /// only as far as it is used.
  enum class Check { none, wholeFile };
  StoreConnection(const std::filesystem::path& file, StoreFile::Identity identity, Check check);

  [[nodiscard]] const StoreFile::Identity& identity() const noexcept { return identity_; }

  void waitForLocks(bool wait) { database_.waitForLocks(wait); }
  /// Found damaged: closing it changes nothing.
  void leaveAsItIs() { database_.tidyUpOnClose(false); }

  std::optional<StoreValue> get(std::string_view key);
  /// Sets the value, or removes it when there is none.
  void write(std::string_view key, const std::optional<StoreValue>& value);
  /// The same on a full disk or in a folder that cannot be written to: only the pages that the file
  /// has are changed, without a journal file.
  void writeInPlace(std::string_view key, const std::optional<StoreValue>& value);
  /// Deletes what `writeInPlace` has only marked as removed.
  void purge();

 private:
  void letOthersIn() const;
  void replace(std::string_view key, const std::optional<StoreValue>& value);
  void markRemoved(std::string_view key);
  [[nodiscard]] bool holdsRemains();
  void deleteRemains();
  void keepReserve();
  void removeEntry(std::string_view key);
  void addItem(std::string_view key, std::int64_t position, const StoreScalar& value);

  StoreFile::Identity identity_;
  SqliteDatabase database_;
  StatementAtFirstUse select_;
  StatementAtFirstUse deleteItems_;
  StatementAtFirstUse deleteEntry_;
  StatementAtFirstUse insertEntry_;
  StatementAtFirstUse insertItem_;
  StatementAtFirstUse mark_;
  std::chrono::steady_clock::time_point lastWrite_;
  std::optional<bool> holdsRemains_;  ///< entries that are only marked as removed, once looked for
};

}  // namespace zavelo::detail

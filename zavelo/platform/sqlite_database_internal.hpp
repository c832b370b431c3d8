#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace zavelo::detail {

/// A failed SQLite call. Stays inside the store.
struct SqliteError {
  int code;  ///< primary result code
  std::string text;

  [[nodiscard]] bool damaged() const noexcept;
  /// Whether writing without a journal file, in place, may succeed where this failed.
  [[nodiscard]] bool needsOtherWay() const noexcept;
};

/// A connection for one thread at a time. Every member throws SqliteError.
class SqliteDatabase {
 public:
  explicit SqliteDatabase(const std::filesystem::path& file);
  ~SqliteDatabase();
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;

  /// Whether to wait, about a second, for what another connection has locked. It does at first.
  void waitForLocks(bool wait);
  /// Whether the connection, when it is the last one, moves the write-ahead log into the file as it
  /// closes. It does not unless told so: a file that is found damaged must stay as it is.
  void tidyUpOnClose(bool tidy);

  void execute(const char* sql);
  [[nodiscard]] std::int64_t integer(const char* sql);
  [[nodiscard]] std::string text(const char* sql);
  [[noreturn]] void fail(int code) const;
  [[nodiscard]] sqlite3* handle() const noexcept { return handle_; }

 private:
  sqlite3* handle_ = nullptr;
  std::chrono::steady_clock::time_point waitingSince_;
};

/// One prepared statement; parameters count from 1, columns from 0.
class SqliteStatement {
 public:
  SqliteStatement(SqliteDatabase& database, std::string_view sql);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  /// What is bound must live until the statement was stepped through or reset.
  void bind(int index, std::string_view text);
  void bind(int index, std::span<const std::byte> bytes);
  void bind(int index, std::int64_t number);
  void bind(int index, double number);

  /// False when there are no more rows.
  bool step();
  void reset() noexcept;

  [[nodiscard]] bool isNull(int column) const;
  [[nodiscard]] std::int64_t integer(int column) const;
  [[nodiscard]] double number(int column) const;
  [[nodiscard]] std::string_view text(int column) const;
  [[nodiscard]] std::span<const std::byte> bytes(int column) const;

 private:
  void check(int code) const;

  SqliteDatabase& database_;
  sqlite3_stmt* handle_ = nullptr;
};

/// A write transaction that ends without effect unless it is committed.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(SqliteDatabase& database);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;
  void commit();

 private:
  SqliteDatabase& database_;
  bool open_ = true;
};

}  // namespace zavelo::detail

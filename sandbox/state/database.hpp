#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "sandbox/state/row.hpp"
#include "zavelo/base/result.hpp"

struct sqlite3;

namespace zavelo::sandbox {

/// The database failed: a full disk, a damaged page. Ends the call with HTTP 500.
class DatabaseError : public std::runtime_error {
 public:
  /// `code` is SQLite's, 0 where the sandbox itself is not content.
  explicit DatabaseError(const std::string& what, int code = 0)
      : std::runtime_error(what), code_(code) {}
  [[nodiscard]] int code() const noexcept { return code_; }

 private:
  int code_;
};

class Database;

/// The only way to the data: holds the database for one thread at a time, so keep it short.
class Transaction {
 public:
  /// Runs a statement with its placeholders filled in order.
  template <class... Args>
  std::vector<Row> all(std::string_view sql, const Args&... args) {
    const Cell cells[] = {cellOf(args)..., Cell{}};
    return execute(sql, std::span(cells).first(sizeof...(args)));
  }
  template <class... Args>
  std::optional<Row> first(std::string_view sql, const Args&... args) {
    auto rows = all(sql, args...);
    if (rows.empty()) return {};
    return std::move(rows.front());
  }
  /// Returns how many rows the statement changed.
  template <class... Args>
  std::int64_t run(std::string_view sql, const Args&... args) {
    all(sql, args...);
    return changes();
  }
  [[nodiscard]] std::int64_t lastId() const;

 private:
  friend class Database;
  explicit Transaction(Database& database) : database_(database) {}

  template <class T>
  static Cell cellOf(const T& value) {
    if constexpr (std::is_integral_v<T>) {
      return static_cast<std::int64_t>(value);
    } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      return std::string(std::string_view(value));
    } else {
      return value;
    }
  }
  template <class T>
  static Cell cellOf(const std::optional<T>& value) {
    return value ? cellOf(*value) : Cell{};
  }

  [[nodiscard]] std::vector<Row> execute(std::string_view sql, std::span<const Cell> arguments);
  [[nodiscard]] std::int64_t changes() const;

  Database& database_;
};

/// The sandbox's state: one SQLite file that survives the process being killed at any moment, or
/// memory only.
class Database {
 public:
  /// Opens or makes the file, readable by its owner alone. An empty path: memory. The error is one
  /// sentence for a person; a file that cannot be used is left as it is.
  static Result<std::unique_ptr<Database>, std::string> open(const std::filesystem::path& file);
  /// A copy in memory of a file that is there, brought up to date. What the file holds stays as it
  /// is, and no sandbox may use it meanwhile. Errors as above; an empty file is one.
  static Result<std::unique_ptr<Database>, std::string> copyOf(const std::filesystem::path& file);
  ~Database();

  /// `work(Transaction&)`, all of it or, when it throws, nothing.
  template <class Work>
  auto transact(Work&& work) {
    const std::scoped_lock lock(mutex_);
    Transaction transaction(*this);
    Rollback rollback{*this};
    script("BEGIN IMMEDIATE");
    if constexpr (std::is_void_v<decltype(work(transaction))>) {
      work(transaction);
      rollback.commit();
    } else {
      auto result = work(transaction);
      rollback.commit();
      return result;
    }
  }

 private:
  friend class Transaction;
  struct Statements;
  struct Rollback {
    Database& database;
    bool done = false;
    void commit();
    ~Rollback();
  };

  explicit Database(sqlite3* handle);
  static std::unique_ptr<Database> handleOn(const std::string& name, int access);
  void copy(const Database& source);
  void script(const char* sql);
  void adopt();

  sqlite3* handle_;
  std::unique_ptr<Statements> statements_;
  std::mutex mutex_;
};

}  // namespace zavelo::sandbox

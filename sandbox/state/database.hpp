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
#include <tuple>
#include <type_traits>
#include <vector>

#include "sandbox/state/cell.hpp"
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
    return allWith(sql, std::span(cells).first(sizeof...(args)));
  }
  std::vector<Row> allWith(std::string_view sql, std::span<const Cell> arguments);

  /// The same with the columns' types: `for (const auto& [name, count] : rows<std::string, int>(…`.
  template <class... Values, class... Args>
  std::vector<std::tuple<Values...>> rows(std::string_view sql, const Args&... args) {
    std::vector<std::tuple<Values...>> values;
    for (const auto& row : all(sql, args...)) values.push_back(valuesIn<Values...>(row));
    return values;
  }
  /// The first row's, if there is one.
  template <class... Values, class... Args>
  std::optional<std::tuple<Values...>> first(std::string_view sql, const Args&... args) {
    const auto rows = all(sql, args...);
    return rows.empty() ? std::nullopt : std::optional(valuesIn<Values...>(rows.front()));
  }
  /// The one column of the first row, if there is one.
  template <class Value, class... Args>
  std::optional<Value> find(std::string_view sql, const Args&... args) {
    const auto row = first<Value>(sql, args...);
    return row ? std::optional(std::get<0>(*row)) : std::nullopt;
  }
  /// The one value of a query that always has one: a count, a sum.
  template <class Value, class... Args>
  Value value(std::string_view sql, const Args&... args) {
    auto found = find<Value>(sql, args...);
    if (!found) throw DatabaseError("no row: " + std::string(sql));
    return *std::move(found);
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

  template <class... Values>
  static std::tuple<Values...> valuesIn(const Row& row) {
    if (row.size() != sizeof...(Values)) throw DatabaseError("another number of columns");
    auto cell = row.begin();
    return std::tuple<Values...>{valueOf<Values>(*cell++)...};
  }

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
  /// is, and no sandbox may use it at the same time. Errors as above; an empty file is one.
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

#include "zavelo/platform/sqlite_database_internal.hpp"

#include <sqlite3.h>

#include <thread>

namespace zavelo::detail {

namespace {

/// Asked again and again while a lock is held. SQLite's own handler soon looks every 100 ms only,
/// and then hardly ever meets a moment between two changes of a busy process.
int waitForLock(void* database, int count) {
  constexpr std::chrono::seconds longest(1);
  using Clock = std::chrono::steady_clock;
  auto& since = *static_cast<Clock::time_point*>(database);
  if (count == 0) since = Clock::now();
  if (Clock::now() - since > longest) return 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return 1;
}

}  // namespace

bool SqliteError::damaged() const noexcept {
  return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

bool SqliteError::needsOtherWay() const noexcept {
  return code == SQLITE_FULL || code == SQLITE_IOERR || code == SQLITE_CANTOPEN ||
         code == SQLITE_READONLY;
}

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file) {
  // Read-only files open for reading. The file was created by whoever chose its mode.
  const int code =
      sqlite3_open_v2(file.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (code != SQLITE_OK) {
    SqliteError error{code & 0xff, handle_ ? sqlite3_errmsg(handle_) : "out of memory"};
    sqlite3_close(handle_);
    throw error;
  }
  waitForLocks(true);
  tidyUpOnClose(false);
}

SqliteDatabase::~SqliteDatabase() {
  sqlite3_close(handle_);
}

void SqliteDatabase::waitForLocks(bool wait) {
  sqlite3_busy_handler(handle_, wait ? &waitForLock : nullptr, &waitingSince_);
}

void SqliteDatabase::tidyUpOnClose(bool tidy) {
  sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, tidy ? 0 : 1, nullptr);
}

void SqliteDatabase::execute(const char* sql) {
  const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(code);
}

std::int64_t SqliteDatabase::integer(const char* sql) {
  SqliteStatement statement(*this, sql);
  return statement.step() ? statement.integer(0) : 0;
}

std::string SqliteDatabase::text(const char* sql) {
  SqliteStatement statement(*this, sql);
  return statement.step() ? std::string(statement.text(0)) : std::string();
}

void SqliteDatabase::fail(int code) const {
  throw SqliteError{code & 0xff, sqlite3_errmsg(handle_)};
}

SqliteStatement::SqliteStatement(SqliteDatabase& database, std::string_view sql)
    : database_(database) {
  check(sqlite3_prepare_v2(database.handle(), sql.data(), static_cast<int>(sql.size()), &handle_,
                           nullptr));
}

SqliteStatement::~SqliteStatement() {
  sqlite3_finalize(handle_);
}

void SqliteStatement::bind(int index, std::string_view text) {
  const char* data = text.data() ? text.data() : "";  // a null pointer would bind NULL
  check(sqlite3_bind_text64(handle_, index, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteStatement::bind(int index, std::span<const std::byte> bytes) {
  if (bytes.empty()) return check(sqlite3_bind_zeroblob(handle_, index, 0));
  check(sqlite3_bind_blob64(handle_, index, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void SqliteStatement::bind(int index, std::int64_t number) {
  check(sqlite3_bind_int64(handle_, index, number));
}

void SqliteStatement::bind(int index, double number) {
  check(sqlite3_bind_double(handle_, index, number));
}

bool SqliteStatement::step() {
  const int code = sqlite3_step(handle_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) database_.fail(code);
  return code == SQLITE_ROW;
}

void SqliteStatement::reset() noexcept {
  sqlite3_reset(handle_);
  sqlite3_clear_bindings(handle_);
}

bool SqliteStatement::isNull(int column) const {
  return sqlite3_column_type(handle_, column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(handle_, column);
}

double SqliteStatement::number(int column) const {
  return sqlite3_column_double(handle_, column);
}

std::string_view SqliteStatement::text(int column) const {
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(handle_, column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
  return data ? std::string_view(data, size) : std::string_view();
}

std::span<const std::byte> SqliteStatement::bytes(int column) const {
  const auto* data = static_cast<const std::byte*>(sqlite3_column_blob(handle_, column));
  return {data, data ? static_cast<std::size_t>(sqlite3_column_bytes(handle_, column)) : 0};
}

void SqliteStatement::check(int code) const {
  if (code != SQLITE_OK) database_.fail(code);
}

SqliteTransaction::SqliteTransaction(SqliteDatabase& database) : database_(database) {
  database_.execute("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
  // Some failures have rolled back already; the result of doing so twice does not matter.
  if (open_) sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::commit() {
  database_.execute("COMMIT");
  open_ = false;
}

}  // namespace zavelo::detail

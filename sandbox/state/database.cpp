#include "sandbox/state/database.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <map>
#include <system_error>
#include <utility>

#include "sandbox/state/schema.hpp"

namespace zavelo::sandbox {
namespace {

constexpr const char* inMemory = ":memory:";
/// A second sandbox on the file is told so instead of mixing its sessions in.
constexpr const char* alone = "PRAGMA locking_mode = EXCLUSIVE";

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

[[noreturn]] void raise(sqlite3* handle) {
  throw DatabaseError(std::string("database: ") + sqlite3_errmsg(handle), sqlite3_errcode(handle));
}

int bindCell(sqlite3_stmt* statement, int place, const Cell& cell) {
  struct Binder {
    sqlite3_stmt* statement;
    int place;
    int operator()(std::monostate) const { return sqlite3_bind_null(statement, place); }
    int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, place, value); }
    int operator()(double value) const { return sqlite3_bind_double(statement, place, value); }
    // Static: the arguments outlive the statement's run.
    int operator()(const std::string& text) const {
      return sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC,
                                 SQLITE_UTF8);
    }
    int operator()(const Blob& blob) const {
      return sqlite3_bind_blob64(statement, place, blob.bytes.data(), blob.bytes.size(),
                                 SQLITE_STATIC);
    }
  };
  return std::visit(Binder{statement, place}, cell);
}

Cell readCell(sqlite3_stmt* statement, int column) {
  const auto bytes = [&](const void* data) {
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), size);
  };
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(statement, column);
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_TEXT:
      return bytes(sqlite3_column_text(statement, column));
    case SQLITE_BLOB:
      return Blob{bytes(sqlite3_column_blob(statement, column))};
    default:
      return Cell{};
  }
}

/// No value when the file can be opened as a state file; else why not. It is not opened: closing it
/// again would give up the locks that this process may hold on it (fcntl(2)).
std::optional<std::string> checkFile(const std::filesystem::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return "it is a folder";
    if (!S_ISREG(status.st_mode)) return "it is not a file";
    if (::access(file.c_str(), R_OK | W_OK) == 0) return {};
  }
  return std::generic_category().message(errno);
}

/// The same of a file that is made where there is none.
std::optional<std::string> prepareFile(const std::filesystem::path& file) {
  const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (made >= 0) ::close(made);
  return made < 0 && errno != EEXIST ? std::generic_category().message(errno) : checkFile(file);
}

std::string whereIn(const std::filesystem::path& file) {
  return "cannot use \"" + file.string() + "\" as the state file: ";
}

std::string complaintOf(const DatabaseError& error) {
  switch (error.code()) {
    case SQLITE_NOTADB:
      return "it is damaged or no database";
    case SQLITE_CORRUPT:
      return "it is damaged";
    case SQLITE_BUSY:
      return "another sandbox uses it; stop that one first";
    default:
      return error.what();
  }
}

}  // namespace

struct Database::Statements {
  std::map<std::string, Statement, std::less<>> bySql;
};

std::vector<Row> Transaction::allWith(std::string_view sql, std::span<const Cell> arguments) {
  sqlite3* handle = database_.handle_;
  auto& known = database_.statements_->bySql;
  auto found = known.find(sql);
  if (found == known.end()) {
    sqlite3_stmt* made = nullptr;
    if (sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &made, nullptr) !=
        SQLITE_OK) {
      raise(handle);
    }
    found = known.emplace(std::string(sql), made).first;
  }
  sqlite3_stmt* statement = found->second.get();
  const auto reset = [](sqlite3_stmt* used) {
    sqlite3_reset(used);
    sqlite3_clear_bindings(used);
  };
  const std::unique_ptr<sqlite3_stmt, decltype(reset)> use(statement, reset);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (bindCell(statement, static_cast<int>(i) + 1, arguments[i]) != SQLITE_OK) raise(handle);
  }
  std::vector<Row> rows;
  int step = SQLITE_ROW;
  while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
    Row& row = rows.emplace_back();
    for (int i = 0; i < sqlite3_column_count(statement); ++i) row.push_back(readCell(statement, i));
  }
  if (step != SQLITE_DONE) raise(handle);
  return rows;
}

std::int64_t Transaction::lastId() const {
  return sqlite3_last_insert_rowid(database_.handle_);
}

std::int64_t Transaction::changes() const {
  return sqlite3_changes64(database_.handle_);
}

Database::Database(sqlite3* handle)
    : handle_(handle), statements_(std::make_unique<Statements>()) {}

Database::~Database() {
  statements_.reset();
  sqlite3_close(handle_);
}

void Database::script(const char* sql) {
  if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) raise(handle_);
}

void Database::Rollback::commit() {
  database.script("COMMIT");
  done = true;
}

Database::Rollback::~Rollback() {
  if (!done && sqlite3_get_autocommit(database.handle_) == 0) {
    sqlite3_exec(database.handle_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

/// Makes an empty database the sandbox's, brings an older one up to date, and refuses any other,
/// unchanged.
void Database::adopt() {
  script(alone);
  script("PRAGMA foreign_keys = ON");
  transact([this](Transaction& transaction) {
    const auto number = [&](std::string_view sql) { return transaction.value<std::int64_t>(sql); };
    const bool isNew = number("SELECT count(*) FROM sqlite_schema") == 0;
    if (!isNew && number("PRAGMA application_id") != applicationId) {
      throw DatabaseError("it is another program's database");
    }
    const auto version = isNew ? 0 : number("PRAGMA user_version");
    if (version < 0 || version > schemaVersion) {
      throw DatabaseError("it was made by a newer version of the sandbox");
    }
    if (transaction.value<std::string>("PRAGMA quick_check(1)") != "ok") {
      throw DatabaseError("it is damaged");
    }
    for (auto step = static_cast<std::size_t>(version); step < schemaSteps.size(); ++step) {
      script(schemaSteps.at(step));
    }
    script(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
    script(("PRAGMA user_version = " + std::to_string(schemaVersion)).c_str());
  });
  // What was committed is with the system when the process is killed, so "normal" keeps it.
  script("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL");
}

/// A database that is told nothing yet. Throws where there is none to be had.
std::unique_ptr<Database> Database::handleOn(const std::string& name, int access) {
  sqlite3* handle = nullptr;
  const int opened = sqlite3_open_v2(name.c_str(), &handle, access | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<Database> database(new Database(handle));
  if (opened != SQLITE_OK) raise(handle);
  return database;
}

/// Takes over all pages of the source, whatever it holds.
void Database::copy(const Database& source) {
  sqlite3_backup* backup = sqlite3_backup_init(handle_, "main", source.handle_, "main");
  if (backup == nullptr) raise(handle_);
  const int step = sqlite3_backup_step(backup, -1);
  sqlite3_backup_finish(backup);
  if (step != SQLITE_DONE) throw DatabaseError(sqlite3_errstr(step), step);
}

Result<std::unique_ptr<Database>, std::string> Database::open(const std::filesystem::path& file) {
  try {
    if (!file.empty()) {
      if (const auto complaint = prepareFile(file)) return Failure{whereIn(file) + *complaint};
    }
    const std::string name = file.empty() ? inMemory : std::filesystem::absolute(file).string();
    auto database = handleOn(name, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    database->adopt();
    // Now that it is known to be a sandbox's.
    if (!file.empty()) {
      ::chmod(name.c_str(), 0600);
      ::chmod((name + "-wal").c_str(), 0600);
    }
    return database;
  } catch (const DatabaseError& error) {
    return Failure{whereIn(file) + complaintOf(error)};
  }
}

Result<std::unique_ptr<Database>, std::string> Database::copyOf(const std::filesystem::path& file) {
  try {
    if (const auto complaint = checkFile(file)) return Failure{whereIn(file) + *complaint};
    auto copied = handleOn(inMemory, SQLITE_OPEN_READWRITE);
    {
      const auto source = handleOn(std::filesystem::absolute(file).string(), SQLITE_OPEN_READWRITE);
      source->script(alone);
      copied->copy(*source);
    }
    const auto isEmpty = [](Transaction& transaction) {
      return transaction.value<std::int64_t>("SELECT count(*) FROM sqlite_schema") == 0;
    };
    if (copied->transact(isEmpty)) throw DatabaseError("it is empty");
    copied->adopt();
    return copied;
  } catch (const DatabaseError& error) {
    return Failure{whereIn(file) + complaintOf(error)};
  }
}

}  // namespace zavelo::sandbox

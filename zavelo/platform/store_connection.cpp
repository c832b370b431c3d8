#include <sqlite3.h>

#include <limits>
#include <string>
#include <thread>
#include <utility>

#include "zavelo/platform/store_connection_internal.hpp"

namespace zavelo::detail {

namespace {

constexpr std::int64_t schemaVersion = 1;

/// In the column `type`; never to be renumbered.
enum class ItemType : std::int64_t { binary = 0, text = 1, number = 2, flag = 3 };

/// A store keeps so many pages free, so that a session can be replaced by a longer one when the
/// disk is full.
constexpr std::int64_t reservePages = 8;

// In the column `is_list`, beside 0 and 1: 2 marks an entry that is removed but for its bytes.
constexpr const char* schema = R"(
  CREATE TABLE entries (key TEXT PRIMARY KEY NOT NULL, is_list INTEGER NOT NULL) WITHOUT ROWID;
  CREATE TABLE items (key TEXT NOT NULL, position INTEGER NOT NULL, type INTEGER NOT NULL, value,
                      PRIMARY KEY (key, position)) WITHOUT ROWID;)";

bool isBlank(SqliteDatabase& database) {
  return database.integer("PRAGMA application_id") == 0 &&
         database.integer("PRAGMA user_version") == 0 &&
         database.integer("SELECT count(*) FROM sqlite_master") == 0;
}

void create(SqliteDatabase& database) {
  SqliteTransaction transaction(database);
  if (!isBlank(database)) return;  // another process was faster
  database.execute(schema);
  database.execute(
      ("PRAGMA application_id=" + std::to_string(StoreConnection::applicationId)).c_str());
  database.execute(("PRAGMA user_version=" + std::to_string(schemaVersion)).c_str());
  transaction.commit();
}

void checkOwner(SqliteDatabase& database, const std::string& name) {
  if (database.integer("PRAGMA application_id") != StoreConnection::applicationId) {
    throw StoreError{"the file " + name + " is the database of another program"};
  }
  if (database.integer("PRAGMA user_version") > schemaVersion) {
    throw StoreError{"the store " + name + " was written by a newer version"};
  }
}

void checkIntegrity(SqliteDatabase& database) {
  const auto verdict = database.text("PRAGMA quick_check(1)");
  if (verdict != "ok") throw SqliteError{SQLITE_CORRUPT, verdict};
  const auto columns = database.integer(
      "SELECT count(*) FROM pragma_table_info('entries') WHERE name IN ('key', 'is_list')");
  const auto itemColumns = database.integer(
      "SELECT count(*) FROM pragma_table_info('items') "
      "WHERE name IN ('key', 'position', 'type', 'value')");
  if (columns != 2 || itemColumns != 4) throw SqliteError{SQLITE_CORRUPT, "its tables are missing"};
}

/// A store is one file: a copy of it is the session. SQLite's write-ahead log needs two more files,
/// also to read.
void leaveLog(SqliteDatabase& database) {
  if (sqlite3_db_readonly(database.handle(), "main") != 0) return;
  if (database.text("PRAGMA journal_mode") != "wal") return;
  try {
    database.execute("PRAGMA journal_mode=DELETE");
  } catch (const SqliteError& error) {
    // Another process uses it, or the disk is full. The store works with the log, too, and the next
    // opening tries again.
    if (error.damaged()) throw;
  }
}

void makeReady(SqliteDatabase& database, const std::filesystem::path& file,
               StoreConnection::Check check) {
  // What was acknowledged is on the disk even after a power cut: EXTRA also writes the folder, in
  // which the journal's end is the commit. No token stays in a free page, and free pages have their
  // place on the disk.
  database.execute("PRAGMA synchronous=EXTRA; PRAGMA secure_delete=ON");
  if (isBlank(database)) create(database);
  checkOwner(database, file.string());
  if (check == StoreConnection::Check::wholeFile) checkIntegrity(database);
  database.tidyUpOnClose(true);
  leaveLog(database);
}

/// Journals in memory while it lives.
class InPlace {
 public:
  explicit InPlace(SqliteDatabase& database) : database_(database) {
    if (database.text("PRAGMA journal_mode=MEMORY") != "memory")
      throw SqliteError{SQLITE_BUSY, "the write-ahead log is in use"};
  }
  ~InPlace() {
    sqlite3_exec(database_.handle(), "PRAGMA journal_mode=DELETE", nullptr, nullptr, nullptr);
  }
  InPlace(const InPlace&) = delete;
  InPlace& operator=(const InPlace&) = delete;

 private:
  SqliteDatabase& database_;
};

StoreScalar scalarOf(const SqliteStatement& row, int typeColumn, int valueColumn) {
  switch (static_cast<ItemType>(row.integer(typeColumn))) {
    case ItemType::binary: {
      const auto bytes = row.bytes(valueColumn);
      return std::vector<std::byte>(bytes.begin(), bytes.end());
    }
    case ItemType::text:
      return std::string(row.text(valueColumn));
    case ItemType::number:
      // SQLite has no NaN and keeps NULL for it.
      return row.isNull(valueColumn) ? std::numeric_limits<double>::quiet_NaN()
                                     : row.number(valueColumn);
    case ItemType::flag:
      return row.integer(valueColumn) != 0;
  }
  throw StoreError{"the store holds a value of an unknown type"};
}

/// Gives the statement back when the work with it is done, however it ends.
class Use {
 public:
  explicit Use(StatementAtFirstUse& statement) : statement_(statement.get()) {}
  ~Use() { statement_.reset(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  SqliteStatement* operator->() const { return &statement_; }
  const SqliteStatement& operator*() const { return statement_; }

 private:
  SqliteStatement& statement_;
};

}  // namespace

StoreConnection::StoreConnection(const std::filesystem::path& file, StoreFile::Identity identity,
                                 Check check)
    : identity_(identity),
      database_(file),
      select_(database_,
              "SELECT entries.is_list, items.type, items.value FROM entries "
              "LEFT JOIN items ON items.key = entries.key "
              "WHERE entries.key = ? AND entries.is_list < 2 ORDER BY items.position"),
      deleteItems_(database_, "DELETE FROM items WHERE key = ?"),
      deleteEntry_(database_, "DELETE FROM entries WHERE key = ?"),
      insertEntry_(database_, "INSERT INTO entries (key, is_list) VALUES (?, ?)"),
      insertItem_(database_, "INSERT INTO items (key, position, type, value) VALUES (?, ?, ?, ?)"),
      mark_(database_, "UPDATE entries SET is_list = 2 WHERE key = ?") {
  makeReady(database_, file, check);
}

std::optional<StoreValue> StoreConnection::get(std::string_view key) {
  const Use row(select_);
  row->bind(1, key);
  if (!row->step()) return std::nullopt;
  if (row->integer(0) == 0) return StoreValue(scalarOf(*row, 1, 2));
  std::vector<StoreScalar> list;
  if (row->isNull(1)) return StoreValue(std::move(list));
  do {
    list.push_back(scalarOf(*row, 1, 2));
  } while (row->step());
  return StoreValue(std::move(list));
}

void StoreConnection::write(std::string_view key, const std::optional<StoreValue>& value) {
  if (!value && !get(key)) return;  // succeeds in a read-only store, too
  letOthersIn();
  SqliteTransaction transaction(database_);
  replace(key, value);
  deleteRemains();
  keepReserve();
  transaction.commit();
  holdsRemains_ = false;
  lastWrite_ = std::chrono::steady_clock::now();
}

// The lock on the file knows no queue: who waits for it looks every millisecond.
void StoreConnection::letOthersIn() const {
  constexpr std::chrono::milliseconds pause(2);
  if (std::chrono::steady_clock::now() - lastWrite_ < pause) std::this_thread::sleep_for(pause);
}

void StoreConnection::writeInPlace(std::string_view key, const std::optional<StoreValue>& value) {
  const InPlace inPlace(database_);
  SqliteTransaction transaction(database_);
  if (value) {
    // A process that is killed within these microseconds may damage the file.
    replace(key, value);
  } else {
    // Changes one page, so it is done or not done.
    markRemoved(key);
    holdsRemains_ = true;
  }
  transaction.commit();
}

void StoreConnection::purge() {
  if (!holdsRemains()) return;
  SqliteTransaction transaction(database_);
  deleteRemains();
  transaction.commit();
  holdsRemains_ = false;
}

void StoreConnection::replace(std::string_view key, const std::optional<StoreValue>& value) {
  removeEntry(key);
  if (!value) return;
  const auto* list = std::get_if<std::vector<StoreScalar>>(&*value);
  {
    const Use entry(insertEntry_);
    entry->bind(1, key);
    entry->bind(2, std::int64_t{list != nullptr});
    entry->step();
  }
  if (list) {
    std::int64_t position = 0;
    for (const auto& item : *list) addItem(key, position++, item);
  } else {
    addItem(key, 0, std::get<StoreScalar>(*value));
  }
}

void StoreConnection::markRemoved(std::string_view key) {
  const Use entry(mark_);
  entry->bind(1, key);
  entry->step();
}

bool StoreConnection::holdsRemains() {
  if (!holdsRemains_)
    holdsRemains_ = database_.integer("SELECT count(*) FROM entries WHERE is_list = 2") != 0;
  return *holdsRemains_;
}

void StoreConnection::deleteRemains() {
  if (!holdsRemains()) return;
  database_.execute(
      "DELETE FROM items WHERE key IN (SELECT key FROM entries WHERE is_list = 2);"
      "DELETE FROM entries WHERE is_list = 2");
}

void StoreConnection::keepReserve() {
  const auto missing = reservePages - database_.integer("PRAGMA freelist_count");
  if (missing <= 0) return;
  // What is inserted and deleted again leaves its pages free.
  const auto size = missing * database_.integer("PRAGMA page_size");
  database_.execute(("INSERT INTO items VALUES ('', -1, 0, zeroblob(" + std::to_string(size) +
                     ")); DELETE FROM items WHERE key = '' AND position = -1")
                        .c_str());
}

void StoreConnection::removeEntry(std::string_view key) {
  for (auto* statement : {&deleteItems_, &deleteEntry_}) {
    const Use use(*statement);
    use->bind(1, key);
    use->step();
  }
}

void StoreConnection::addItem(std::string_view key, std::int64_t position,
                              const StoreScalar& value) {
  const Use item(insertItem_);
  item->bind(1, key);
  item->bind(2, position);
  const auto bind = [&](ItemType type, auto content) {
    item->bind(3, static_cast<std::int64_t>(type));
    item->bind(4, content);
  };
  if (const auto* bytes = std::get_if<std::vector<std::byte>>(&value)) {
    bind(ItemType::binary, std::span<const std::byte>(*bytes));
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    bind(ItemType::text, std::string_view(*text));
  } else if (const auto* number = std::get_if<double>(&value)) {
    bind(ItemType::number, *number);
  } else {
    bind(ItemType::flag, std::int64_t{std::get<bool>(value)});
  }
  item->step();
}

}  // namespace zavelo::detail

#include <sqlite3.h>

#include <limits>
#include <string>
#include <utility>

#include "zavelo/platform/store_connection_internal.hpp"

namespace zavelo::detail {

namespace {

constexpr std::int64_t schemaVersion = 1;

/// In the column `type`; never to be renumbered.
enum class ItemType : std::int64_t { binary = 0, text = 1, number = 2, flag = 3 };

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

void checkSoundness(SqliteDatabase& database) {
  const auto verdict = database.text("PRAGMA quick_check(1)");
  if (verdict != "ok") throw SqliteError{SQLITE_CORRUPT, verdict};
}

/// Only once the owner stands in the file itself: what is in the log alone may get lost with it.
void useLog(SqliteDatabase& database) {
  if (sqlite3_db_readonly(database.handle(), "main") != 0) return;
  if (database.text("PRAGMA journal_mode") == "wal") return;
  try {
    database.execute("PRAGMA journal_mode=WAL");
  } catch (const SqliteError& error) {
    // Another process is at work: the store is as safe without, and the next opening tries again.
    if (error.code != SQLITE_BUSY) throw;
  }
}

bool makeReady(SqliteDatabase& database, const std::filesystem::path& file) {
  // What was acknowledged is on the disk, even when the power goes.
  database.execute("PRAGMA synchronous=FULL");
  if (isBlank(database)) create(database);
  checkOwner(database, file.string());
  checkSoundness(database);
  database.tidyUpOnClose(true);
  useLog(database);
  return true;
}

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
  explicit Use(SqliteStatement& statement) : statement_(statement) {}
  ~Use() { statement_.reset(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  SqliteStatement* operator->() const { return &statement_; }
  const SqliteStatement& operator*() const { return statement_; }

 private:
  SqliteStatement& statement_;
};

}  // namespace

StoreConnection::StoreConnection(const std::filesystem::path& file, StoreFile::Identity identity)
    : identity_(identity),
      database_(file),
      ready_(makeReady(database_, file)),
      select_(database_,
              "SELECT entries.is_list, items.type, items.value FROM entries "
              "LEFT JOIN items ON items.key = entries.key WHERE entries.key = ? "
              "ORDER BY items.position"),
      deleteItems_(database_, "DELETE FROM items WHERE key = ?"),
      deleteEntry_(database_, "DELETE FROM entries WHERE key = ?"),
      insertEntry_(database_, "INSERT INTO entries (key, is_list) VALUES (?, ?)"),
      insertItem_(database_, "INSERT INTO items (key, position, type, value) VALUES (?, ?, ?, ?)") {
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

void StoreConnection::set(std::string_view key, const StoreValue& value) {
  SqliteTransaction transaction(database_);
  removeEntry(key);
  const auto* list = std::get_if<std::vector<StoreScalar>>(&value);
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
    addItem(key, 0, std::get<StoreScalar>(value));
  }
  transaction.commit();
}

void StoreConnection::remove(std::string_view key) {
  if (!get(key)) return;  // succeeds in a read-only store, too
  SqliteTransaction transaction(database_);
  removeEntry(key);
  transaction.commit();
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

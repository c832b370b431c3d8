#include "zavelo/platform/sqlite_key_value_store.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <random>
#include <thread>

#include "support/child_process.hpp"
#include "support/environment_variable.hpp"
#include "support/temporary_folder.hpp"

namespace zavelo {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uid_t nobody = 65534;

StoreValue text(std::string value) {
  return StoreScalar(std::move(value));
}

/// Another connection with an open transaction.
class Lock {
 public:
  Lock(const fs::path& file, const char* begin) {
    EXPECT_EQ(sqlite3_open(file.c_str(), &database_), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database_, begin, nullptr, nullptr, nullptr), SQLITE_OK);
  }
  ~Lock() { sqlite3_close(database_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  sqlite3* database_ = nullptr;
};

class SqliteStore : public testing::Test {
 protected:
  /// Remembers where damaged files were kept.
  SqliteKeyValueStore open() {
    return SqliteKeyValueStore(file, [this](const fs::path& kept) { setAside.push_back(kept); });
  }

  void fill(const std::string& bytes) const { std::ofstream(file, std::ios::binary) << bytes; }

  static std::string contents(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// The bytes of a sound store that holds some values.
  std::string soundStore() {
    {
      auto store = open();
      EXPECT_TRUE(store.set("key 0", std::vector<StoreScalar>(200, std::string(100, 'v'))));
      EXPECT_TRUE(store.set("key 1", text("value")));
    }
    auto bytes = contents(file);
    fs::remove(file);
    return bytes;
  }

  void execute(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }

  void expectRefused(const std::string& text) {
    auto store = open();
    const auto read = store.get("name");
    const auto written = store.set("name", StoreScalar(1.0));
    ASSERT_FALSE(read);
    ASSERT_FALSE(written);
    EXPECT_THAT(read.error().description, HasSubstr(text));
    EXPECT_THAT(written.error().description, HasSubstr(text));
    EXPECT_THAT(read.error().description, HasSubstr(file.string()));
    EXPECT_THAT(setAside, IsEmpty());
  }

  test::TemporaryFolder folder;
  fs::path file = folder / "store.sqlite";
  std::vector<fs::path> setAside;
};

TEST_F(SqliteStore, ReturnsEachValueAsItWasSet) {
  using List = std::vector<StoreScalar>;
  const std::string odd("\0a\xc3\xa4 \xf0\x9f\x98\x80\n'\"", 12);
  const std::vector<std::byte> bytes{std::byte{0}, std::byte{255}, std::byte{0}};
  const std::vector<StoreValue> values{StoreScalar(true),
                                       StoreScalar(false),
                                       StoreScalar(10.0),
                                       StoreScalar(-1e300),
                                       StoreScalar(std::numeric_limits<double>::infinity()),
                                       text(""),
                                       text(odd),
                                       text("10"),
                                       StoreScalar(bytes),
                                       StoreScalar(std::vector<std::byte>()),
                                       List{},
                                       List{odd},
                                       List{true, 1.5, std::string(), bytes, std::string("x")}};
  {
    auto store = open();
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_TRUE(store.set(odd + std::to_string(i), values[i]));
    }
    ASSERT_TRUE(store.set("nan", StoreScalar(std::nan(""))));
  }
  auto store = open();
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(store.get(odd + std::to_string(i)).value(), values[i]) << i;
  }
  const auto nan = store.get("nan").value().value();
  EXPECT_TRUE(std::isnan(std::get<double>(std::get<StoreScalar>(nan))));
  EXPECT_EQ(store.get("absent").value(), std::nullopt);
}

TEST_F(SqliteStore, ReplacesAndRemovesWholeValues) {
  auto store = open();
  ASSERT_TRUE(store.set("a", std::vector<StoreScalar>{1.0, 2.0, 3.0}));
  ASSERT_TRUE(store.set("a", text("one")));
  ASSERT_TRUE(store.set("b", text("other")));
  EXPECT_EQ(store.get("a").value(), text("one"));
  ASSERT_TRUE(store.remove("a"));
  ASSERT_TRUE(store.remove("a"));
  EXPECT_EQ(store.get("a").value(), std::nullopt);
  EXPECT_EQ(store.get("b").value(), text("other"));
}

TEST_F(SqliteStore, MakesItsFoldersAndIsReadableByItsOwnerOnly) {
  file = folder / "a" / "b" / "store.sqlite";
  auto store = open();
  ASSERT_TRUE(store.set("a", text("secret")));
  struct stat status {};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(SqliteStore, IsOneFileAfterEachChangeAndClosesItInPrograms) {
  auto store = open();
  ASSERT_TRUE(store.set("a", text("secret")));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
  fs::copy_file(file, folder / "copy");
  EXPECT_EQ(SqliteKeyValueStore(folder / "copy").get("a").value(), text("secret"));
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ended;
    if (fs::read_symlink(entry.path(), ended) != file) continue;
    EXPECT_TRUE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC);
  }
}

TEST_F(SqliteStore, KeepsWhatItAcknowledgedWhenTheProcessIsKilled) {
  const char* wanted = std::getenv("ZAVELO_KILLS");  // more than a few take their time
  const int kills = wanted ? std::atoi(wanted) : 10;
  std::mt19937 random(20260131);
  int acknowledged = 0;
  for (int kill = 0; kill < kills; ++kill) {
    {
      test::ChildProcess child(
          {ZAVELO_STORE_CHILD, "write-forever", file.string(), std::to_string(acknowledged + 1)});
      acknowledged = std::stoi(child.readLine());
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 100'000));
      child.kill();
      for (auto line = child.readLine(); !line.empty(); line = child.readLine())
        acknowledged = std::stoi(line);
    }
    // The change after the last acknowledged one may have come to its end, too.
    const auto value = open().get("session").value();
    if (!value) {
      acknowledged += acknowledged % 10 == 9 ? 1 : 0;
      ASSERT_EQ(acknowledged % 10, 0);
      continue;
    }
    const auto& list = std::get<std::vector<StoreScalar>>(*value);
    ASSERT_THAT(list, SizeIs(3));
    EXPECT_EQ(list[1], list[2]);
    const auto kept = static_cast<int>(std::get<double>(list[0]));
    ASSERT_TRUE(kept == acknowledged || kept == acknowledged + 1) << kept << acknowledged;
    acknowledged = kept;
  }
  EXPECT_THAT(setAside, IsEmpty());
  std::printf("%d kills, %d acknowledged changes, none lost\n", kills, acknowledged);
}

TEST_F(SqliteStore, SeveralProcessesShareOneFile) {
  for (const bool damaged : {false, true}) {
    fs::remove(file);
    if (damaged) fill("not a database");
    {
      test::ChildProcess a({ZAVELO_STORE_CHILD, "write-many", file.string(), "a"});
      test::ChildProcess b({ZAVELO_STORE_CHILD, "write-many", file.string(), "b"});
      EXPECT_EQ(a.wait(), 0);
      EXPECT_EQ(b.wait(), 0);
    }
    auto store = open();
    for (int i = 0; i < 100; ++i) {
      EXPECT_TRUE(store.get("a" + std::to_string(i)).value()) << i;
      EXPECT_TRUE(store.get("b" + std::to_string(i)).value()) << i;
    }
  }
  const auto damagedFiles =
      std::count_if(fs::directory_iterator(folder.path()), {}, [](const auto& entry) {
        return entry.path().string().find(".damaged-") != std::string::npos;
      });
  EXPECT_EQ(damagedFiles, 1);
}

TEST_F(SqliteStore, SetsADamagedFileAsideWholeAndBeginsAnew) {
  const auto sound = soundStore();
  auto header = sound;
  header.replace(0, 100, 100, '\x5a');
  auto middle = sound;
  middle.replace(4096, 8192, 8192, '\x5a');
  const std::vector<std::string> damages{
      "garbage", std::string(4096, '\0'),           header,
      middle,    sound.substr(0, sound.size() / 2), sound.substr(0, 150)};
  for (std::size_t i = 0; i < damages.size(); ++i) {
    fill(damages[i]);
    {
      auto store = open();
      EXPECT_EQ(store.get("key 1").value(), std::nullopt) << i;
      EXPECT_TRUE(store.set("key 1", text("new"))) << i;
      EXPECT_EQ(store.get("key 1").value(), text("new")) << i;
    }
    ASSERT_THAT(setAside, SizeIs(i + 1));
    EXPECT_TRUE(contents(setAside.back()) == damages[i]) << i;
    EXPECT_EQ(setAside.back().parent_path(), folder.path());
    fs::remove(file);
  }
}

TEST_F(SqliteStore, SetsAStoreWithoutItsTablesAsideAlsoWhileItIsOpen) {
  for (const bool isOpen : {false, true}) {
    auto store = open();
    ASSERT_TRUE(store.set("a", text("old")));
    execute(isOpen ? "DROP TABLE items" : "ALTER TABLE entries RENAME COLUMN is_list TO other");
    EXPECT_EQ((isOpen ? store : *std::make_unique<SqliteKeyValueStore>(file)).get("a").value(),
              std::nullopt);
    EXPECT_TRUE(store.set("a", text("new")));
    EXPECT_EQ(store.get("a").value(), text("new"));
  }
  EXPECT_THAT(setAside, SizeIs(1));
}

TEST_F(SqliteStore, NoticesDamageWhileItIsOpen) {
  fill(soundStore());
  auto store = open();
  EXPECT_TRUE(store.get("key 1").value());
  fill("gone");
  // What SQLite has in memory may answer some reads; a write meets the file.
  EXPECT_TRUE(store.set("key 1", text("new")));
  EXPECT_EQ(open().get("key 1").value(), text("new"));
}

TEST_F(SqliteStore, FollowsItsNameWhenTheFileIsReplaced) {
  auto store = open();
  ASSERT_TRUE(store.set("a", text("old")));
  fs::rename(file, folder / "moved");
  EXPECT_EQ(store.get("a").value(), std::nullopt);
  ASSERT_TRUE(store.set("a", text("new")));
  EXPECT_EQ(open().get("a").value(), text("new"));
}

TEST_F(SqliteStore, EmptyFileIsANewStore) {
  fill("");
  EXPECT_TRUE(open().set("a", text("b")));
  EXPECT_THAT(setAside, IsEmpty());
}

TEST_F(SqliteStore, RefusesWhatIsNotAFileOfItsOwn) {
  fs::create_directory(file);
  expectRefused("not a regular file");
  EXPECT_TRUE(fs::is_directory(file));
  fs::remove(file);

  execute("CREATE TABLE notes (text); INSERT INTO notes VALUES ('mine')");
  const auto before = contents(file);
  expectRefused("another program");
  EXPECT_TRUE(contents(file) == before);
  fs::remove(file);

  ASSERT_TRUE(open().set("a", text("b")));
  execute("PRAGMA user_version=2");
  expectRefused("newer version");
  fs::remove(file);

  file = "/dev/null";
  expectRefused("not a regular file");
}

TEST_F(SqliteStore, RefusedChangeCountsAndIsTriedAgain) {
  for (const bool atEnd : {false, true}) {
    auto store = std::make_optional<SqliteKeyValueStore>(file);
    ASSERT_TRUE(store->set("a", text("old")));
    auto lock = std::make_unique<Lock>(file, "BEGIN EXCLUSIVE");
    const auto refused = store->remove("a");
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().description, HasSubstr("locked"));
    EXPECT_FALSE(store->set("b", text("new")));
    EXPECT_EQ(store->get("a").value(), std::nullopt);
    EXPECT_EQ(store->get("b").value(), text("new"));
    EXPECT_FALSE(store->flush());
    EXPECT_THAT(store->pendingProblem().value().description, HasSubstr("locked"));
    lock.reset();
    if (atEnd) {
      store.reset();
    } else {
      EXPECT_EQ(store->get("c").value(), std::nullopt);
      EXPECT_FALSE(store->pendingProblem());
    }
    EXPECT_EQ(open().get("a").value(), std::nullopt);
    EXPECT_EQ(open().get("b").value(), text("new"));
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST_F(SqliteStore, RefusedChangeGivesWayToWhatAnotherProcessHasWrittenSince) {
  auto store = open();
  ASSERT_TRUE(store.set("a", text("old")));
  {
    const Lock lock(file, "BEGIN IMMEDIATE");
    EXPECT_FALSE(store.remove("a"));
  }
  ASSERT_TRUE(open().set("a", text("newer")));
  EXPECT_EQ(store.get("a").value(), text("newer"));
  EXPECT_FALSE(store.pendingProblem());
}

TEST_F(SqliteStore, RefusedRemovalIsTriedAgainWhenTheProcessEnds) {
  ASSERT_TRUE(open().set("session", text("old")));
  auto lock = std::make_unique<Lock>(file, "BEGIN EXCLUSIVE");
  test::ChildProcess child({ZAVELO_STORE_CHILD, "exit-with-pending", file.string(), folder / "go"});
  EXPECT_THAT(child.readLine(), HasSubstr("locked"));
  lock.reset();
  std::ofstream(folder / "go").flush();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(open().get("session").value(), std::nullopt);
}

TEST_F(SqliteStore, FullDiskUndoesNoSignOutAndLosesNoWords) {
  const auto path = file.string();
  // With files for store and filler only, or for a journal, too.
  for (const auto& [files, problem] :
       {std::pair("2", "unable to open"), std::pair("3", "there is no room left for")}) {
    test::ChildProcess child({ZAVELO_STORE_CHILD, "full-disk", folder.path(), files});
    auto line = child.readLine();
    if (line == "no mount") GTEST_SKIP() << "cannot mount a small disk without more rights";
    for (const auto* expected :
         {"signed in", "words", "another signed in", "20000", "signed out", "absent"}) {
      EXPECT_EQ(line, expected);
      line = child.readLine();
    }
    EXPECT_THAT(line, HasSubstr(problem)) << "9,000 words do not fit";
    EXPECT_THAT(child.readLine(), HasSubstr(problem));
    for (const auto* expected : {"9000", "1000", "absent", "none pending", "9000"})
      EXPECT_EQ(child.readLine(), expected);
    EXPECT_EQ(child.wait(), 0);
  }
}

// Superusers may do everything, so another user tries.
TEST_F(SqliteStore, FollowsWhatAUserMayDo) {
  struct Case {
    fs::perms folder, file;
    bool own;
    std::vector<std::string> lines;
  };
  const std::string readOnly = "the store " + file.string() + " is read-only";
  const std::vector<std::string> written{"5", "written", "removed", "5", "none pending"};
  for (const auto& [folderMode, fileMode, own, lines] :
       {Case{fs::perms(0555), fs::perms(0600), true, written},
        Case{fs::perms(0755), fs::perms(0400), true, written},
        Case{fs::perms(0555), fs::perms(0400), true, written},
        Case{fs::perms(0555), fs::perms(0444), false, {"5", readOnly, "removed", "5", readOnly}}}) {
    if (!own && getuid() != 0) continue;
    fs::permissions(folder.path(), fs::perms(0700));
    fs::remove(file);
    ASSERT_TRUE(open().set("name", text("value")));
    fs::permissions(file, fileMode);
    fs::permissions(folder.path(), folderMode);
    if (own && getuid() == 0) {
      for (const auto& path : {file, folder.path()}) ASSERT_EQ(chown(path.c_str(), nobody, 0), 0);
    }
    test::ChildProcess child({ZAVELO_STORE_CHILD, "read-and-write", file.string(),
                              std::to_string(getuid() == 0 ? nobody : getuid())});
    for (const auto& line : lines) EXPECT_EQ(child.readLine(), line);
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(fs::status(file).permissions(), fileMode);
    fs::permissions(folder.path(), fs::perms(0700));
    fs::permissions(file, fs::perms(0600));
    EXPECT_EQ(open().get("name").value(), text(own ? "other" : "value"));
  }
}

TEST(SqliteStoreDefaultFile, FollowsTheBaseDirectorySpecification) {
  const test::EnvironmentVariable home("HOME");
  const test::EnvironmentVariable dataHome("XDG_DATA_HOME");
  setenv("HOME", "/home/me", 1);
  setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(SqliteKeyValueStore::defaultFile(), "/data/zavelo/store.sqlite");
  setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(SqliteKeyValueStore::defaultFile(), "/home/me/.local/share/zavelo/store.sqlite");
  unsetenv("HOME");
  const auto nowhere = SqliteKeyValueStore(SqliteKeyValueStore::defaultFile()).get("a");
  ASSERT_FALSE(nowhere);
  EXPECT_THAT(nowhere.error().description, HasSubstr("HOME"));
}

}  // namespace
}  // namespace zavelo

#include "zavelo/platform/sqlite_key_value_store.hpp"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>

#include "tests/support/child_process.hpp"
#include "tests/support/temporary_folder.hpp"

namespace zavelo {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uid_t nobody = 65534;

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
      for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(store.set("key " + std::to_string(i), StoreScalar(std::string(100, 'v'))));
      }
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

StoreValue text(std::string value) {
  return StoreScalar(std::move(value));
}

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
  for (const auto* suffix : {"", "-wal", "-shm"}) {
    struct stat status {};
    ASSERT_EQ(stat((file.string() + suffix).c_str(), &status), 0) << suffix;
    EXPECT_EQ(status.st_mode & 0777U, 0600U) << suffix;
  }
}

TEST_F(SqliteStore, KeepsWhatItAcknowledgedWhenTheProcessIsKilled) {
  double acknowledged = 0;
  for (int round = 1; round <= 3; ++round) {
    {
      test::ChildProcess child({ZAVELO_TEST_CHILD, "write-forever", file.string()});
      for (int i = 0; i < 20 * round; ++i) acknowledged = std::stod(child.readLine());
    }
    auto store = open();
    const auto value = store.get("session").value().value();
    const auto& list = std::get<std::vector<StoreScalar>>(value);
    ASSERT_THAT(list, SizeIs(3));
    EXPECT_GE(std::get<double>(list[0]), acknowledged);
    EXPECT_EQ(list[1], list[2]);
    EXPECT_THAT(setAside, IsEmpty());
  }
}

TEST_F(SqliteStore, SeveralProcessesShareOneFile) {
  for (const bool damaged : {false, true}) {
    fs::remove(file);
    if (damaged) fill("not a database");
    {
      test::ChildProcess a({ZAVELO_TEST_CHILD, "write-many", file.string(), "a"});
      test::ChildProcess b({ZAVELO_TEST_CHILD, "write-many", file.string(), "b"});
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

TEST_F(SqliteStore, LockedStoreIsAnErrorUntilItIsFree) {
  auto store = open();
  ASSERT_TRUE(store.set("a", text("old")));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  const auto refused = store.set("a", text("new"));
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.error().description, HasSubstr("locked"));
  EXPECT_EQ(store.get("a").value(), text("old"));
  sqlite3_close(other);
  EXPECT_TRUE(store.set("a", text("new")));
  EXPECT_THAT(setAside, IsEmpty());
}

TEST_F(SqliteStore, SaysWhatAUserMayNotDo) {
  if (getuid() != 0) GTEST_SKIP() << "needs another user to read the file";
  const auto readAndWrite = [this] {
    return test::ChildProcess(
        {ZAVELO_TEST_CHILD, "read-and-write", file.string(), std::to_string(nobody)});
  };
  fs::permissions(folder.path(), fs::perms(0755));
  EXPECT_THAT(readAndWrite().readLine(), HasSubstr("Permission denied"));

  ASSERT_TRUE(open().set("name", text("value")));
  fs::permissions(file, fs::perms(0444));
  fs::permissions(folder.path(), fs::perms(0777));
  auto child = readAndWrite();
  EXPECT_EQ(child.readLine(), "read");
  EXPECT_THAT(child.readLine(), HasSubstr("is read-only"));
  EXPECT_EQ(child.readLine(), "removed");
  EXPECT_EQ(child.wait(), 0);
}

TEST(SqliteStoreDefaultFile, FollowsTheBaseDirectorySpecification) {
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

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "sandbox/seed/export.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/state/schema.hpp"
#include "support/temporary_folder.hpp"
#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class StateTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string complaintAbout(const fs::path& state) const {
    const auto started = Sandbox::start({.port = 0, .state = state});
    return started ? "" : started.error();
  }
  void write(std::string_view content) const { std::ofstream(file, std::ios::binary) << content; }
  void execute(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
  [[nodiscard]] std::string content() const {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  const test::TemporaryFolder folder;
  const fs::path file = folder / "state.db";
};

TEST_F(StateTest, SessionsAndPicturesSurviveARestart) {
  std::string token;
  std::string picture;
  {
    const Backend backend({.state = file});
    token = backend.join("ann").text("accessToken");
    const auto edited = backend.editProfile(token, jpegFile(9, 9));
    picture = edited.text("userInfo.userImage").substr(backend.sandbox->url().size());
  }
  const Backend backend({.state = file});
  const auto page = backend.post("/api/users/search",
                                 {{"displayName", "ann"}, {"nextId", 0}, {"limit", 1}}, token);
  ASSERT_THAT(page, HasCode(1));
  EXPECT_EQ(page.data("result").as<json::Array>()->size(), 1U);
  EXPECT_EQ(backend.send("GET", picture).body, jpegFile(9, 9));
}

TEST_F(StateTest, FailingStepThrowsAndLeavesNothingOfItsTransaction) {
  auto opened = Database::open({});
  const auto database = std::move(*opened);
  const auto add = [](Transaction& transaction, std::string_view device) {
    transaction.run("INSERT INTO guests (device, created) VALUES (?, 0)", device);
  };
  const auto addThenFail = [&](const std::string& failing) {
    try {
      database->transact([&](Transaction& transaction) {
        add(transaction, "b");
        transaction.run(failing);
        add(transaction, "c");
      });
    } catch (const DatabaseError& error) {
      return std::string(error.what());
    }
    return std::string("no error");
  };
  database->transact([&](Transaction& transaction) { add(transaction, "a"); });
  EXPECT_THAT(addThenFail("INSERT INTO guests (device, created) VALUES ('a', 0)"),
              HasSubstr("UNIQUE constraint failed: guests.device"));
  EXPECT_THAT(addThenFail("INSERT INTO guests (device, created) VALUES ('d', 0), ('a', 0)"),
              HasSubstr("UNIQUE"));
  EXPECT_THAT(addThenFail("INSERT INTO sessions (member, device) VALUES (99, '')"),
              HasSubstr("FOREIGN KEY"));
  EXPECT_THAT(addThenFail("INSERT INTO guests (device, created) VALUES (NULL, 0)"),
              HasSubstr("NOT NULL"));
  EXPECT_THAT(addThenFail("INSERT INTO no_table VALUES (1)"), HasSubstr("no such table"));
  EXPECT_THROW(database->transact([&](Transaction& transaction) {
    add(transaction, "b");
    throw std::runtime_error("of the caller's own");
  }),
               std::runtime_error);
  const auto guests = database->transact([&](Transaction& transaction) {
    add(transaction, "b");
    return transaction.value<std::string>("SELECT group_concat(device) FROM guests");
  });
  EXPECT_EQ(guests, "a,b");
}

TEST_F(StateTest, FileIsTheOwnersAlone) {
  { const Backend backend({.state = file}); }
  fs::permissions(file, fs::perms::all);
  const Backend backend({.state = file});
  (void)backend.join("ann");
  for (const auto& entry : fs::directory_iterator(folder.path()))
    EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << entry.path();
}

TEST_F(StateTest, NeitherTokensNorPasswordsStandInTheFile) {
  std::string token;
  {
    const Backend backend({.state = file});
    token = backend.registerMember("ann", "a very secret word").text("accessToken");
  }
  EXPECT_EQ(content().find(token), std::string::npos);
  EXPECT_EQ(content().find("a very secret word"), std::string::npos);
}

TEST_F(StateTest, FileThatIsNoStateIsRefusedAndLeftAlone) {
  write("not a database, but long enough to be looked at as one: " + std::string(5000, 'x'));
  const auto before = content();
  EXPECT_THAT(complaintAbout(file), HasSubstr("damaged or no database"));
  EXPECT_EQ(content(), before);
  EXPECT_THAT(complaintAbout(folder.path()), HasSubstr("it is a folder"));
  EXPECT_THAT(complaintAbout("/dev/null"), HasSubstr("it is not a file"));
  EXPECT_THAT(complaintAbout(folder / "none" / "state.db"), HasSubstr("No such file"));
}

TEST_F(StateTest, AnotherProgramsDatabaseIsRefusedAndLeftAlone) {
  execute("CREATE TABLE notes (text)");
  const auto before = content();
  EXPECT_THAT(complaintAbout(file), HasSubstr("another program's database"));
  EXPECT_EQ(content(), before);
}

TEST_F(StateTest, StateOfTheFirstVersionIsBroughtUpToDate) {
  execute(std::string(userTables) + R"(
    PRAGMA application_id = )" +
          std::to_string(applicationId) + R"(; PRAGMA user_version = 1;
    INSERT INTO members (zavelo_id, user_name, display_name, folded_name, created)
      VALUES ('ann', 'ann', 'Ann', 'ann', 0);
    INSERT INTO pictures VALUES (1, 'abc', x'01');)");
  const auto before = content();
  EXPECT_TRUE(exportSeed({file}));
  EXPECT_EQ(content(), before) << "to look at it is not to change it";
  const Backend backend({.state = file});
  const auto ann = backend.join("ann");
  EXPECT_THAT(ann.text("userInfo.userImage"), ::testing::EndsWith("/media/profiles/1-abc.jpeg"));
  EXPECT_EQ(backend.fetch(ann.text("userInfo.userImage")).body, "\x01");
  EXPECT_THAT(
      backend.post("/api/users/products", {{"nextId", 0}, {"limit", 1}}, ann.text("accessToken")),
      HasCode(1));
}

TEST_F(StateTest, StateOfANewerVersionIsRefusedAndLeftAlone) {
  { const Backend backend({.state = file}); }
  execute("PRAGMA user_version = 1000");
  const auto before = content();
  EXPECT_THAT(complaintAbout(file), HasSubstr("newer version"));
  EXPECT_EQ(content(), before);
}

TEST_F(StateTest, DamagedStateIsRefused) {
  {
    const Backend backend({.state = file});
    for (int i = 0; i < 50; ++i) (void)backend.join("member" + std::to_string(i));
  }
  auto damaged = content();
  damaged.replace(2 * 4096, 4096, 4096, '\xAB');
  write(damaged);
  EXPECT_THAT(complaintAbout(file), HasSubstr("it is damaged"));
}

TEST_F(StateTest, SecondSandboxOnTheFileIsToldSo) {
  const Backend backend({.state = file});
  EXPECT_THAT(complaintAbout(file), HasSubstr("another sandbox uses it"));
  EXPECT_THAT(backend.join("ann"), HasCode(1));
}

}  // namespace
}  // namespace zavelo::sandbox

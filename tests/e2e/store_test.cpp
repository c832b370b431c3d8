#include <gmock/gmock.h>
#include <sqlite3.h>

#include <fstream>
#include <iterator>

#include "tests/e2e/app.hpp"
#include "tests/sandbox/backend.hpp"
#include "tests/support/temporary_folder.hpp"

// A store that fails under a working session.

namespace zavelo::test {
namespace {

namespace fs = std::filesystem;

class FailingStore : public ::testing::Test {
 protected:
  void expectSessionInMemoryAndAWarning() {
    const auto before = App::log().size();
    App app(backend.sandbox->url(), file);
    EXPECT_TRUE(app.signIn("ann").ok);
    EXPECT_TRUE(app.user->isLogin());
    EXPECT_THAT(App::log().substr(before), ::testing::HasSubstr("The session store: "));
    app.search(app.answered<std::shared_ptr<ZVSearchUser>>());
    app.waitForAnswers(2);
    EXPECT_TRUE(app.answers.back().ok);
  }

  const TemporaryFolder folder;
  const fs::path file = folder / "store.sqlite";
  sandbox::Backend backend;
};

TEST_F(FailingStore, ThatIsAFolderKeepsTheSessionInMemory) {
  fs::create_directory(file);
  expectSessionInMemoryAndAWarning();
  EXPECT_TRUE(fs::is_empty(file));
}

TEST_F(FailingStore, ThatIsLockedKeepsTheSessionInMemoryAndItsContent) {
  { ASSERT_TRUE(App(backend.sandbox->url(), file).signIn("bob").ok); }
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  expectSessionInMemoryAndAWarning();
  sqlite3_close(other);
  App later(backend.sandbox->url(), file);
  EXPECT_EQ(later.user->currentUser()->userInfo->userName, "bob");
}

TEST_F(FailingStore, ThatIsDamagedIsSetAsideAndBegunAnew) {
  std::ofstream(file) << std::string(5000, 'x');
  {
    App app(backend.sandbox->url(), file);
    EXPECT_FALSE(app.user->isLogin());
    EXPECT_TRUE(app.signIn("ann").ok);
  }
  EXPECT_TRUE(App(backend.sandbox->url(), file).user->isLogin());
  const auto kept = std::find_if(fs::directory_iterator(folder.path()), {}, [](const auto& entry) {
    return entry.path().filename().string().starts_with("store.sqlite.damaged-");
  });
  ASSERT_NE(kept, fs::directory_iterator());
  EXPECT_EQ(fs::file_size(*kept), 5000u);
}

}  // namespace
}  // namespace zavelo::test

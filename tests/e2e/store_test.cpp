#include <gmock/gmock.h>
#include <sqlite3.h>

#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"
#include "tests/sandbox/backend.hpp"

namespace zavelo::test {
namespace {

TEST(FailingStore, KeepsTheSessionInMemoryAndWhatTheFileHolds) {
  const TemporaryFolder folder;
  const auto file = folder / "store.sqlite";
  const sandbox::Backend backend;
  { ASSERT_TRUE(App(backend.sandbox->url(), file).signIn("bob").ok); }
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  {
    App app(backend.sandbox->url(), file);
    EXPECT_TRUE(app.signIn("ann").ok);
    EXPECT_TRUE(app.searchToItsEnd().ok);
    EXPECT_TRUE(app.user->isLogin());
  }
  sqlite3_close(other);
  const App later(backend.sandbox->url(), file);
  EXPECT_EQ(later.user->currentUser()->userInfo->userName, "bob");
}

}  // namespace
}  // namespace zavelo::test

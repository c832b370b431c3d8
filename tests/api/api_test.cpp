#include "zavelo/api/api.hpp"

#include <gtest/gtest.h>

#include <set>
#include <unordered_set>

namespace zavelo {
namespace {

TEST(ZVAPI, HasFortyNineOperationsWithPathsOfTheirOwn) {
  std::set<std::string> paths;
  std::unordered_set<ZVAPI> operations;
  for (std::size_t i = 0; i < ZVAPI::count; ++i) {
    const ZVAPI api(static_cast<ZVAPI::Case>(i));
    paths.insert(api.path());
    operations.insert(api);
    EXPECT_EQ(api.method(), ZVHTTPMethod::post);
    EXPECT_TRUE(api.path().starts_with("/api/")) << api.path();
  }
  EXPECT_EQ(paths.size(), 49u);
  EXPECT_EQ(operations.size(), 49u);
}

TEST(ZVAPI, KeepsTheTwoPathsOutsideTheirGroups) {
  EXPECT_EQ(ZVAPI(ZVAPI::getProducts).path(), "/api/users/products");
  EXPECT_EQ(ZVAPI(ZVAPI::shareClickTracking).path(), "/api/streams/share-click-tracking");
  EXPECT_EQ(ZVAPI(ZVAPI::getNaughtyWords).path(), "/api/settings/naughty-words");
  EXPECT_EQ(ZVAPI(ZVAPI::editProduct).path(), "/api/products/edit");
}

}  // namespace
}  // namespace zavelo

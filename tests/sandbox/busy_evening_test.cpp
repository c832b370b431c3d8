#include <gtest/gtest.h>

#include "tests/sandbox/backend.hpp"

// The example seed, as an app meets it.

namespace zavelo::sandbox {
namespace {

class BusyEvening : public ::testing::Test {
 protected:
  [[nodiscard]] static std::size_t sizeOf(const json::Value& list) {
    return list.as<json::Array>() == nullptr ? 0 : list.as<json::Array>()->size();
  }
  [[nodiscard]] Answer post(const std::string& path, const json::Object& body = {}) const {
    return backend.post("/api/" + path, body, token);
  }

  const Backend backend{{.seed = ZAVELO_EXAMPLE_FOLDER "/seeds/busy_evening.json"}};
  const Answer signedIn = backend.post("/api/users/login", loginBody("haruka", "evening"));
  const std::string token = signedIn.text("accessToken");
};

TEST_F(BusyEvening, IsThereWithItsPeopleStreamsAndGoods) {
  EXPECT_EQ(signedIn.text("userInfo.displayName"), "佐藤 遥") << signedIn.body;
  EXPECT_EQ(sizeOf(post("users/search", {{"displayName", ""}, {"nextId", 0}, {"limit", 100}})
                       .data("result")),
            19U)
      << "all but the one who is banned";
  EXPECT_THAT(backend.post("/api/users/login", loginBody("loudmouth", "evening")), HasCode(603));
  const json::Object key{{"title", "Vinyl for friends"}, {"password", "needle"}};
  EXPECT_EQ(post("streams/detail/pwd", key).data("isLocked"), json::Value(true));
  std::int64_t products = 0;
  for (const auto& [slug, stage] :
       std::initializer_list<std::pair<const char*, const char*>>{{"bun-bo-hue", "live"},
                                                                  {"night-kiln", "live"},
                                                                  {"oud-till-late", "live"},
                                                                  {"vinyl-for-friends", "live"},
                                                                  {"chess-at-one", "paused"},
                                                                  {"ajvar", "ended"}}) {
    EXPECT_EQ(post("streams/detail", {{"slug", slug}}).text("statusMessage"), stage) << slug;
    products += post("streams/products", {{"slug", slug}, {"nextId", 0}, {"limit", 1}})
                    .integer("totalRecords");
  }
  EXPECT_EQ(products, 14);
}

TEST_F(BusyEvening, HasSettingsOfItsOwn) {
  EXPECT_EQ(sizeOf(post("settings/naughty-words").data()), 6U);
  EXPECT_EQ(post("settings/configs").text("iosVersion"), "3.4.0");
  EXPECT_EQ(sizeOf(post("streams/tags").data()), 5U);
  const auto store = post("gifts/store");
  EXPECT_EQ(store.integer("totalGold"), 3000);
  EXPECT_EQ(sizeOf(store.data("gifts")), 10U);
}

}  // namespace
}  // namespace zavelo::sandbox

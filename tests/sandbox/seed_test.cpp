#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

#include "support/temporary_folder.hpp"
#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::EndsWith;

class SeedTest : public ::testing::Test {
 protected:
  [[nodiscard]] SandboxOptions options() const {
    return {.state = folder / "state.db", .seed = folder / "seed.json"};
  }
  void write(std::string_view seed) const { std::ofstream(folder / "seed.json") << seed; }

  const test::TemporaryFolder folder;
};

TEST(SettingsTest, BuiltInSettingsAreServedToAnybody) {
  const Backend backend;
  EXPECT_FALSE(backend.post("/api/settings/naughty-words").data().as<json::Array>()->empty());
  for (const char* path : {"/api/settings/configs", "/api/settings/v2/configs"}) {
    const auto config = backend.post(path);
    EXPECT_EQ(config.data("enableStreamTitle"), json::Value(true));
    EXPECT_EQ(config.text("profileImageUrl"), backend.sandbox->url() + "/media/profiles/");
  }
  EXPECT_EQ(backend.post("/api/settings/configs", {{"a", 1}}).message(),
            "\"a\": unknown parameter");
}

TEST_F(SeedTest, SeedIsThereFromTheStartAndOnlyOnce) {
  write(R"({
    "naughtyWords": ["merde", "日本"], "config": {"iosVersion": "9.9"},
    "tags": [{"tagId": 7, "tagName": "Cooking"}],
    "members": [{"zaveloId": "ann", "displayName": "Ann", "password": "secret",
                 "promoCode": "TEA"}],
    "streams": [{"owner": "ann", "slug": "s1", "streamTitle": "Soup", "tagId": 7,
                 "password": "sesame"}],
    "products": [{"seller": "ann", "name": "Tea", "price": 3, "promotionPrice": 2.5, "url": ""}]})");
  for (int start = 0; start < 2; ++start) {
    const Backend backend(options());
    EXPECT_EQ(backend.post("/api/settings/naughty-words").data(),
              json::Value(json::Array{"merde", "日本"}));
    EXPECT_EQ(backend.post("/api/settings/configs").text("iosVersion"), "9.9");
    const auto token =
        backend.post("/api/users/login", loginBody("ann", "secret")).text("accessToken");
    const auto stream = backend.post("/api/streams/detail", {{"slug", "s1"}}, token);
    EXPECT_EQ(stream.text("tags"), "Cooking");
    EXPECT_EQ(stream.data("isLocked"), json::Value(true));
    const auto products = backend.post("/api/users/products", {{"nextId", 0}, {"limit", 5}}, token);
    EXPECT_EQ(products.integer("totalRecords"), 1);
    EXPECT_EQ(products.text("promoCode"), "TEA");
  }
}

TEST_F(SeedTest, MistakeIsRefusedWithItsPlace) {
  const std::tuple<const char*, const char*> mistakes[] = {
      {"{", "it is not JSON"},
      {"[]", "it is not a JSON object"},
      {R"({"words": []})", "words: unknown"},
      {R"({"naughtyWords": ["a", 1]})", "naughtyWords[1]: expected text"},
      {R"({"config": {"iosVersion": 1}})", "config.iosVersion: expected"},
      {R"({"config": {"iosversion": "1"}})", "config.iosversion: unknown"},
      {R"({"members": [{"zaveloId": "a"}, {"name": "b"}]})", "members[1]: \"name\": unknown"},
      {R"({"members": [{"zaveloId": "a", "passwordHash": "$argon2id$v=19$m=9999999,t=2,p=1$a$b"}]})",
       "members[0]: \"passwordHash\": is no hash"},
      {R"({"members": [{"zaveloId": "a", "picture": "https://example.com/a.jpeg"}]})",
       "members[0]: \"picture\": expected data:image/jpeg;base64"},
      {R"({"members": [{"zaveloId": "a", "picture": "data:image/jpeg;base64,AAAA"}]})",
       "members[0]: \"picture\": is not a valid JPEG"},
      {R"({"streams": [{"owner": "a", "slug": "s", "streamTitle": "t", "tagId": 1,
                        "password": "a", "passwordHash": "b"}]})",
       "streams[0]: \"passwordHash\": is given together with a password"},
      {R"({"streams": [{"owner": "a", "slug": "s", "streamTitle": "t", "tagId": 1,
                        "status": "over"}]})",
       "streams[0]: \"status\": expected created, live, paused or ended"},
      {R"({"streams": [{"owner": "nobody", "slug": "s", "streamTitle": "t", "tagId": 1}]})",
       "streams[0]: \"owner\": there is no such member"},
  };
  for (const auto& [seed, complaint] : mistakes) {
    write(seed);
    auto wrong = options();
    wrong.port = 0;
    const auto started = Sandbox::start(wrong);
    ASSERT_FALSE(started) << seed;
    EXPECT_THAT(started.error(), ::testing::HasSubstr("seed.json\" as the seed file: "));
    EXPECT_THAT(started.error(), ::testing::HasSubstr(complaint));
  }
  const auto missing = Sandbox::start({.port = 0, .seed = folder / "none.json"});
  EXPECT_THAT(missing.error(), EndsWith("No such file or directory"));
}

}  // namespace
}  // namespace zavelo::sandbox

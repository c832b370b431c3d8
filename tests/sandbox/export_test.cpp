#include "sandbox/seed/export.hpp"

#include <filesystem>
#include <fstream>

#include "support/temporary_folder.hpp"
#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A state in which something has happened, and one that is loaded from its export.
class ExportTest : public ::testing::Test {
 protected:
  /// With pictures beside a seed only.
  [[nodiscard]] ExportedSeed exported(const char* state, const char* seed = "") const {
    auto result = exportSeed({.state = folder / state,
                              .seed = *seed == '\0' ? "" : folder / seed,
                              .withPictures = *seed != '\0'});
    EXPECT_TRUE(result) << result.error();
    return result ? *std::move(result) : ExportedSeed{};
  }
  void write(const char* file, const std::string& text) const {
    std::ofstream(folder / file) << text;
  }
  static Answer act(const Backend& backend, json::Object body, const std::string& action) {
    body.set("action", action);
    return backend.post("/sandbox/actions", body);
  }
  static std::string stream(const Backend& backend, const std::string& token,
                            const json::Value& tag) {
    return backend
        .post("/api/streams/create",
              {{"streamTitle", "Soup & \"more\""},
               {"tagId", tag},
               {"latitude", 10.762622},
               {"longitude", 106},
               {"address", "Huế"},
               {"resolution", 720},
               {"countryCode", "VN"},
               {"screenType", 1},
               {"streamType", 5},
               {"roomType", 0}},
              token)
        .text("slug");
  }

  /// Members, streams in each stage of their life, a locked one, products of one name.
  void live() const {
    write("run.json",
          R"({"naughtyWords": ["merde"], "tags": [{"tagId": 7, "tagName": "Cooking"}]})");
    const Backend backend({.state = folder / "first.db", .seed = folder / "run.json"});
    const auto ann = backend.registerMember("ann@example", "secret").text("accessToken");
    (void)backend.editProfile(ann, jpegFile(9, 9), "1990-02-28", "日本語 and\nmore");
    (void)backend.post("/api/users/update-promo-code",
                       {{"promoCode", "TEA"}, {"promoCodeDescription", "10 %"}}, ann);
    (void)backend.join("eve");
    EXPECT_THAT(act(backend, {{"userName", "eve"}}, "ban"), HasCode(1));
    for (const auto& steps : std::vector<std::vector<std::string>>{
             {}, {"begin"}, {"begin", "leave-stream"}, {"begin", "end"}}) {
      const auto slug = stream(backend, ann, 7);
      for (const auto& step : steps) {
        json::Object body{{"slug", slug}};
        if (step == "leave-stream") body.set("streamUserId", 1);
        EXPECT_THAT(backend.post("/api/streams/" + step, body, ann), HasCode(1));
      }
      if (steps.empty()) {
        (void)backend.upload("/api/streams/save-cover", {{"slug", slug}}, {"image", jpegFile(7, 7)},
                             ann);
        EXPECT_THAT(act(backend, {{"slug", slug}, {"password", "sesame"}}, "lock-stream"),
                    HasCode(1));
      }
    }
    for (const char* price : {"3", "2.5"})
      EXPECT_THAT(backend.upload("/api/products/add",
                                 {{"name", "Tea"},
                                  {"price", price},
                                  {"promotionPrice", "0.1"},
                                  {"url", ""},
                                  {"description", "green"}},
                                 {"image", jpegFile(5, 5)}, ann),
                  HasCode(1));
  }

  const test::TemporaryFolder folder;
};

TEST_F(ExportTest, LoadedElsewhereIsTheSameState) {
  live();
  const auto first = exported("first.db", "run.json");
  write("second.json", first.text);
  const SandboxOptions second{.state = folder / "second.db", .seed = folder / "second.json"};
  { const Backend backend(second); }
  EXPECT_EQ(exported("second.db", "second.json").text, first.text);
  const Backend backend(second);
  const auto ann = backend.post("/api/users/login", loginBody("ann@example", "secret"));
  EXPECT_EQ(ann.text("userInfo.about"), "日本語 and\nmore") << ann.body;
  EXPECT_EQ(backend.fetch(ann.text("userInfo.userImage")).body, jpegFile(9, 9));
  EXPECT_THAT(backend.join("eve"), HasCode(603));
  const auto token = ann.text("accessToken");
  const json::Object page{{"userName", ann.text("userName")}, {"nextId", 0}, {"limit", 9}};
  std::string stages;
  const auto streams = backend.post("/api/users/streams", page, token).data("result");
  for (const auto& each : *streams.as<json::Array>())
    stages += *each.as<json::Object>()->find("statusMessage")->as<std::string>() + " ";
  EXPECT_EQ(stages, "ended paused live created ");
  const json::Object key{{"title", "Soup & \"more\""}, {"password", "sesame"}};
  EXPECT_EQ(backend.post("/api/streams/detail/pwd", key, token).text("tags"), "Cooking");
}

TEST_F(ExportTest, SaysWhatItLeavesOutAndWhatItCannotKnow) {
  live();
  const auto seed = exported("first.db");
  EXPECT_EQ(seed.members + seed.streams + seed.products, 2U + 4U + 2U);
  EXPECT_THAT(seed.text, HasSubstr("\"Cooking\""));
  EXPECT_EQ(seed.text.find("merde"), std::string::npos) << "the word was of the run";
  EXPECT_THAT(seed.notes,
              ElementsAre("not in the seed: 1 profile picture, 1 stream cover, 2 product pictures, "
                          "2 sessions",
                          HasSubstr("Cooking (5)")));
}

TEST_F(ExportTest, FileThatCannotBeReadIsRefusedAndLeftAlone) {
  const auto complaint = [&](const char* state) {
    const auto result = exportSeed({.state = folder / state});
    return result ? "" : result.error();
  };
  EXPECT_THAT(complaint("none.db"), HasSubstr("none.db\" as the state file: No such file"));
  EXPECT_FALSE(std::filesystem::exists(folder / "none.db"));
  write("text.db", "not a database, but long enough to be looked at: " + std::string(999, 'x'));
  EXPECT_THAT(complaint("text.db"), HasSubstr("it is damaged or no database"));
  write("empty.db", "");
  EXPECT_THAT(complaint("empty.db"), HasSubstr("it is empty"));
  EXPECT_TRUE(std::filesystem::is_empty(folder / "empty.db"));
  const Backend backend({.state = folder / "used.db"});
  EXPECT_THAT(complaint("used.db"), HasSubstr("another sandbox uses it; stop that one first"));
  EXPECT_THAT(backend.join("ann"), HasCode(1));
}

}  // namespace
}  // namespace zavelo::sandbox

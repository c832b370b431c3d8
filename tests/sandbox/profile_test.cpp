#include <gtest/gtest.h>

#include <set>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

class ProfileTest : public ::testing::Test {
 protected:
  [[nodiscard]] Answer search(const std::string& name, std::int64_t nextId,
                              std::int64_t limit) const {
    return backend.post("/api/users/search",
                        {{"displayName", name}, {"nextId", nextId}, {"limit", limit}}, token);
  }
  void joinNamed(const std::string& displayName) const {
    static int made = 0;
    ASSERT_THAT(backend.post("/api/users/zavelo-login", {{"zaveloId", "m" + std::to_string(++made)},
                                                         {"displayName", displayName},
                                                         {"deviceType", 1}}),
                HasCode(1));
  }
  [[nodiscard]] static std::vector<std::string> namesIn(const Answer& page) {
    std::vector<std::string> names;
    const auto result = page.data("result");
    for (const auto& user : *result.as<json::Array>()) {
      names.push_back(*user.as<json::Object>()->find("displayName")->as<std::string>());
    }
    return names;
  }

  const std::vector<std::pair<std::string, std::string>> fields{
      {"displayName", "Ann"}, {"dob", "1990-02-28"}, {"gender", "f"}, {"about", "line\nline"}};
  Backend backend;
  const Answer session = backend.join("searcher");
  const std::string token = session.text("accessToken");
};

TEST_F(ProfileTest, SearchFindsPartsOfNamesInAnyCase) {
  for (const auto* name : {"Straße", "ÉCLAIR", "100%", "日本語"}) joinNamed(name);
  EXPECT_THAT(namesIn(search("STRASSE", 0, 10)), ElementsAre("Straße"));
  EXPECT_THAT(namesIn(search("e\u0301cl", 0, 10)), ElementsAre("ÉCLAIR"));
  EXPECT_THAT(namesIn(search("%", 0, 10)), ElementsAre("100%"));
  EXPECT_THAT(namesIn(search("本", 0, 10)), ElementsAre("日本語"));
  EXPECT_THAT(namesIn(search("none", 0, 10)), ElementsAre());
}

TEST_F(ProfileTest, SearchPagesToItsEndWithoutGapsOrRepeats) {
  for (int i = 0; i < 7; ++i) joinNamed("Fan " + std::to_string(i));
  std::multiset<std::string> seen;
  std::int64_t cursor = 0;
  int pages = 0;
  for (bool isEnd = false; !isEnd; ++pages) {
    const auto page = search("fan", cursor, 3);
    ASSERT_THAT(page, HasCode(1));
    for (auto& name : namesIn(page)) seen.insert(std::move(name));
    cursor = *page.data("nextId").as<std::int64_t>();
    isEnd = *page.data("isEnd").as<bool>();
  }
  EXPECT_EQ(pages, 3);
  EXPECT_EQ(seen.size(), 7U);
  EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 7U);
  const auto behind = search("fan", cursor, 3);
  EXPECT_THAT(namesIn(behind), ElementsAre());
  EXPECT_EQ(behind.data("nextId"), json::Value(cursor));
  EXPECT_EQ(behind.data("isEnd"), json::Value(true));
}

TEST_F(ProfileTest, SearchPageOfExactlyTheLimitIsTheEnd) {
  for (int i = 0; i < 3; ++i) joinNamed("Trio");
  EXPECT_EQ(search("trio", 0, 3).data("isEnd"), json::Value(true));
  EXPECT_EQ(search("trio", 0, 2).data("isEnd"), json::Value(false));
}

TEST_F(ProfileTest, SearchTakesForeignCursorsCalmly) {
  EXPECT_THAT(search("", -1, 3), HasCode(750));
  EXPECT_THAT(search("", 0, 0), HasCode(750));
  EXPECT_THAT(search("", 0, 101), HasCode(750));
  EXPECT_EQ(search("", 9007199254740991, 3).data("isEnd"), json::Value(true));
}

TEST_F(ProfileTest, EditAnswersTheProfileAsItIsNow) {
  const auto edited = backend.post(
      "/api/users/edit-profile",
      {{"displayName", "Ann"}, {"dob", "1990-02-28"}, {"gender", "f"}, {"about", "hello"}}, token);
  ASSERT_THAT(edited, HasCode(1));
  EXPECT_EQ(edited.data("isNewEmail"), json::Value(false));
  EXPECT_EQ(edited.data("userInfo.doB"), json::Value("1990-02-28"));
  EXPECT_EQ(edited.data("userInfo.userImage"), json::Value(""));
  EXPECT_THAT(namesIn(search("ann", 0, 10)), ElementsAre("Ann"));
}

TEST_F(ProfileTest, PictureIsServedBackAsItCame) {
  const std::string picture = jpegFile(40, 30);
  const auto edited = backend.postForm("/api/users/edit-profile", fields, picture, token);
  ASSERT_THAT(edited, HasCode(1));
  EXPECT_EQ(edited.data("userInfo.about"), json::Value("line\nline"));

  const std::string address = edited.text("userInfo.userImage");
  ASSERT_THAT(address, StartsWith(backend.sandbox->url() + "/media/profiles/"));
  const std::string path = address.substr(backend.sandbox->url().size());
  const auto served = backend.send("GET", path);
  EXPECT_EQ(served.contentType, "image/jpeg");
  EXPECT_EQ(served.body, picture);

  const auto changed = backend.postForm("/api/users/edit-profile", fields, jpegFile(8, 8), token);
  EXPECT_NE(changed.text("userInfo.userImage"), address);
  EXPECT_EQ(backend.send("GET", path).status, 404);
  EXPECT_EQ(backend.send("GET", "/media/profiles/1-.jpeg").status, 404);
  EXPECT_EQ(backend.send("GET", "/media/profiles/../../etc/passwd").status, 404);
}

TEST_F(ProfileTest, PictureThatIsNoneIsRefusedAndChangesNothing) {
  const std::string picture = jpegFile(40, 30);
  for (const auto& file : {std::string("GIF89a"), std::string(), picture.substr(0, 100),
                           std::string(11 * 1024 * 1024, 'x')}) {
    const auto answer = backend.postForm("/api/users/edit-profile", fields, file, token);
    EXPECT_THAT(answer.code(), ::testing::AnyOf(750, 413)) << answer.body;
  }
  EXPECT_THAT(namesIn(search("Ann", 0, 10)), ElementsAre());
}

TEST_F(ProfileTest, PromoCodeIsTaken) {
  const auto answer =
      backend.post("/api/users/update-promo-code",
                   {{"promoCode", "SALE10"}, {"promoCodeDescription", "10 % off"}}, token);
  EXPECT_EQ(answer.data(), json::Value(true));
}

}  // namespace
}  // namespace zavelo::sandbox

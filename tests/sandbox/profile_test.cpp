#include <gtest/gtest.h>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class ProfileTest : public ::testing::Test {
 protected:
  [[nodiscard]] Answer search(const std::string& name, std::int64_t nextId,
                              std::int64_t limit) const {
    return backend.post("/api/users/search",
                        {{"displayName", name}, {"nextId", nextId}, {"limit", limit}}, token);
  }
  [[nodiscard]] static std::vector<std::string> namesIn(const Answer& page) {
    std::vector<std::string> names;
    const auto result = page.data("result");
    for (const auto& user : *result.as<json::Array>()) {
      names.push_back(*user.as<json::Object>()->find("displayName")->as<std::string>());
    }
    return names;
  }

  Backend backend;
  const Answer session = backend.join("searcher");
  const std::string token = session.text("accessToken");
};

TEST_F(ProfileTest, SearchFindsPartsOfNamesInAnyCase) {
  for (const auto* name : {"Straße", "ÉCLAIR", "100%", "日本語"}) (void)backend.join(name);
  EXPECT_THAT(namesIn(search("STRASSE", 0, 10)), ElementsAre("Straße"));
  EXPECT_THAT(namesIn(search("e\u0301cl", 0, 10)), ElementsAre("ÉCLAIR"));
  EXPECT_THAT(namesIn(search("%", 0, 10)), ElementsAre("100%"));
  EXPECT_THAT(namesIn(search("本", 0, 10)), ElementsAre("日本語"));
  EXPECT_THAT(namesIn(search("none", 0, 10)), ElementsAre());
}

TEST_F(ProfileTest, SearchPagesToItsEndWithoutGapsOrRepeats) {
  for (int i = 0; i < 6; ++i) (void)backend.join("Fan " + std::to_string(i));
  const auto first = search("fan", 0, 3);
  EXPECT_EQ(first.data("isEnd"), json::Value(false));
  const auto cursor = *first.data("nextId").as<std::int64_t>();
  const auto second = search("fan", cursor, 3);
  EXPECT_EQ(second.data("isEnd"), json::Value(true)) << "though the page is full";
  auto names = namesIn(first);
  for (auto& name : namesIn(second)) names.push_back(std::move(name));
  EXPECT_THAT(names, UnorderedElementsAre("Fan 0", "Fan 1", "Fan 2", "Fan 3", "Fan 4", "Fan 5"));

  const auto end = *second.data("nextId").as<std::int64_t>();
  const auto behind = search("fan", end, 3);
  EXPECT_THAT(namesIn(behind), ElementsAre());
  EXPECT_EQ(behind.data("nextId"), json::Value(end));
  EXPECT_EQ(behind.data("isEnd"), json::Value(true));
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
  const auto edited = backend.editProfile(token, picture, "", "line\nline");
  ASSERT_THAT(edited, HasCode(1));
  EXPECT_EQ(edited.data("userInfo.about"), json::Value("line\nline"));

  const std::string address = edited.text("userInfo.userImage");
  ASSERT_THAT(address, StartsWith(backend.sandbox->url() + "/media/profiles/"));
  const std::string path = address.substr(backend.sandbox->url().size());
  const auto served = backend.send("GET", path);
  EXPECT_EQ(served.contentType, "image/jpeg");
  EXPECT_EQ(served.body, picture);

  const auto changed = backend.editProfile(token, jpegFile(8, 8));
  EXPECT_NE(changed.text("userInfo.userImage"), address);
  EXPECT_EQ(backend.send("GET", path).status, 404);
  EXPECT_EQ(backend.send("GET", "/media/profiles/1-.jpeg").status, 404);
  EXPECT_EQ(backend.send("GET", "/media/profiles/../../etc/passwd").status, 404);
}

TEST_F(ProfileTest, PictureThatIsNoneIsRefusedAndChangesNothing) {
  const std::string picture = jpegFile(40, 30);
  for (const auto& file : {std::string("GIF89a"), std::string(), picture.substr(0, 100),
                           std::string(11 * 1024 * 1024, 'x')}) {
    const auto answer = backend.editProfile(token, file);
    EXPECT_THAT(answer.code(), ::testing::AnyOf(750, 413)) << answer.body;
  }
  EXPECT_THAT(namesIn(search("Ann", 0, 10)), ElementsAre());
}

}  // namespace
}  // namespace zavelo::sandbox

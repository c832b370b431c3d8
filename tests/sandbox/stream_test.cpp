#include <chrono>

#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

TEST_F(Broadcast, CreatedStreamHasWhatItWasCreatedWith) {
  const auto stream = call("detail", viewer);
  EXPECT_EQ(stream.text("title"), "A <b>title</b> &amp; more");
  EXPECT_EQ(stream.text("titlePlainText"), "A title & more");
  EXPECT_EQ(stream.text("tags"), "Music");
  EXPECT_EQ(stream.text("latitude"), "10.5");
  EXPECT_EQ(stream.integer("screenType"), 1);
  EXPECT_EQ(stream.integer("streamType"), 5);
  EXPECT_EQ(stream.integer("userId"), owner.integer("userInfo.userId"));
  EXPECT_EQ(stream.text("publisher.userName"), "host");
  EXPECT_EQ(stream.data("rtmpUrl"), json::Value()) << "only the owner pushes";
  EXPECT_NE(call("detail", host).text("rtmpUrl"), "");
}

TEST_F(Broadcast, LifeGoesFromCreatedToEndedAndCountsTheTimeLive) {
  EXPECT_EQ(status(), 0);
  ASSERT_THAT(call("begin", host), HasCode(1));
  EXPECT_EQ(status(), 1);
  backend.clock->advance(60s);
  ASSERT_THAT(leave(host), HasCode(1));
  EXPECT_EQ(status(), 2);
  backend.clock->advance(600s);
  EXPECT_EQ(call("statistic", viewer).integer("afkStatus"), 1);
  EXPECT_EQ(call("resume-detail", host).text("slug"), slug);
  ASSERT_THAT(call("resume", host), HasCode(1));
  backend.clock->advance(30s);

  ASSERT_THAT(call("update-viewcount", viewer), HasCode(1));
  ASSERT_THAT(call("update-viewcount", guest), HasCode(1));
  ASSERT_THAT(like(viewer, 3, false), HasCode(1));
  const auto running = call("statistic", viewer);
  const auto totals = call("end", host);
  EXPECT_EQ(status(), 3);
  for (const auto& sums : {running, totals, call("statistic", viewer)}) {
    EXPECT_EQ(sums.integer("duration"), 90) << "without the pause";
    EXPECT_EQ(sums.integer("viewCount"), 2);
    EXPECT_EQ(sums.integer("likeCount"), 3);
  }
}

TEST_F(Broadcast, StepsOutOfTurnAreRefusedAndNamed) {
  for (const char* operation : {"end", "resume", "resume-detail", "recording"})
    EXPECT_EQ(call(operation, host).message(), "\"slug\": this stream has not begun") << operation;
  EXPECT_THAT(like(viewer, 1, false), HasCode(750));
  (void)call("begin", host);
  for (const char* operation : {"begin", "resume", "resume-detail", "delete"})
    EXPECT_EQ(call(operation, host).message(), "\"slug\": this stream is live") << operation;
  (void)call("end", host);
  for (const char* operation : {"begin", "end", "resume", "resume-detail", "recording"})
    EXPECT_THAT(call(operation, host), HasCode(1059)) << operation;
  EXPECT_THAT(like(viewer, 1, false), HasCode(1059));
  EXPECT_THAT(call("update-viewcount", viewer), HasCode(1059));
  EXPECT_THAT(call("update-pinned", host, {{"data", "late"}}), HasCode(1059));
}

TEST_F(Broadcast, OnlyTheOwnerSteersAStream) {
  for (const auto& token : {viewer, guest}) {
    for (const char* operation : {"begin", "end", "resume", "resume-detail", "recording", "delete"})
      EXPECT_THAT(call(operation, token), HasCode(1098)) << operation;
    EXPECT_THAT(call("update-pinned", token, {{"data", "mine"}}), HasCode(1098));
    EXPECT_THAT(backend.upload("/api/streams/save-cover", {{"slug", slug}},
                               {"image", jpegFile(2, 2)}, token),
                HasCode(1098));
  }
  EXPECT_THAT(create("guests do not broadcast", guest), HasCode(1098));
  EXPECT_THAT(call("detail", ""), HasCode(401));
}

TEST_F(Broadcast, BadParametersAreNamed) {
  EXPECT_EQ(create("", host).message(), "\"streamTitle\": must not be empty");
  EXPECT_EQ(create(std::string(1'000'000, 'x'), host).message(),
            "\"streamTitle\": at most 500 characters");
  EXPECT_EQ(create(std::string("a\0b", 3), host).message(),
            "\"streamTitle\": must not contain NUL");
  EXPECT_EQ(create("t", host, {{"tagId", 99}}).message(), "\"tagId\": there is no such tag");
  EXPECT_EQ(create("t", host, {{"screenType", 2}}).message(),
            "\"screenType\": must be from 0 to 1");
  EXPECT_EQ(call("like", viewer, {{"count", 1}, {"isUnique", 1}}).message(),
            "\"isUnique\": expected true or false");
  EXPECT_EQ(call("like", viewer).message(), "\"count\": missing");
  EXPECT_EQ(call("viewer-list", viewer, {{"nextId", 0}, {"limit", -1}}).message(),
            "\"limit\": must be from 1 to 100");
  slug = "nothing";
  EXPECT_EQ(call("detail", viewer).message(), "\"slug\": there is no such stream");
  slug = "";
  EXPECT_EQ(call("detail", viewer).message(), "\"slug\": must not be empty");
}

TEST_F(Broadcast, TitleTakesAllOfUnicode) {
  const std::string title = "\U0001F469\u200D\U0001F680 e\u0301 \u202Eאבג \U0010FFFF <3 日本語";
  EXPECT_EQ(create(title, host).text("title"), title);
  EXPECT_EQ(create(title, host).text("titlePlainText"), title);
}

TEST_F(Broadcast, UserStreamsComeNewestFirstPageByPage) {
  for (const char* title : {"two", "three"}) {
    slug = create(title, host).text("slug");
    (void)call("begin", host);
  }
  const auto page = [&](const std::string& token, std::int64_t nextId) {
    return backend.post("/api/users/streams",
                        {{"userName", "host"}, {"nextId", nextId}, {"limit", 2}}, token);
  };
  const auto titles = [](const Answer& answer) {
    std::string all;
    const auto list = answer.data("result");
    for (const auto& stream : *list.as<json::Array>())
      all += *stream.as<json::Object>()->find("titlePlainText")->as<std::string>() + ",";
    return all;
  };
  const auto first = page(host, 0);
  EXPECT_EQ(titles(first), "three,two,");
  EXPECT_EQ(first.data("isEnd"), json::Value(false));
  const auto second = page(host, first.integer("nextId"));
  EXPECT_EQ(titles(second), "A title & more,");
  EXPECT_EQ(second.data("isEnd"), json::Value(true));
  EXPECT_EQ(page(viewer, 0).data("isEnd"), json::Value(true)) << "the one that never began";
  EXPECT_EQ(titles(page(viewer, 1)), "");
}

TEST_F(Broadcast, DeletedStreamIsGoneWithItsFiles) {
  const Backend::File cover{"image", jpegFile(3, 3)};
  ASSERT_THAT(backend.upload("/api/streams/save-cover", {{"slug", slug}}, cover, host), HasCode(1));
  const auto address = call("detail", host).text("coverImage");
  ASSERT_EQ(backend.fetch(address).status, 200);
  ASSERT_THAT(call("delete", host), HasCode(1));
  EXPECT_THAT(call("detail", host), HasCode(750));
  EXPECT_EQ(backend.fetch(address).status, 404);
}

}  // namespace
}  // namespace zavelo::sandbox

#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(LiveBroadcast, ViewSessionCountsOnceUntilItsViewerLeaves) {
  EXPECT_EQ(call("detail", viewer).data("viewSessionId"), json::Value());
  ASSERT_THAT(call("update-viewcount", viewer), HasCode(1));
  ASSERT_THAT(call("update-viewcount", viewer), HasCode(1));
  const auto session = call("detail", viewer).integer("viewSessionId");
  EXPECT_GT(session, 0);
  EXPECT_EQ(call("detail", viewer).integer("viewCount"), 1);
  EXPECT_EQ(call("detail", host).data("viewSessionId"), json::Value()) << "each has their own";

  EXPECT_EQ(leave(viewer).data(), json::Value(true));
  EXPECT_EQ(leave(viewer).data(), json::Value(false));
  EXPECT_EQ(status(), 1);
  ASSERT_THAT(call("update-viewcount", viewer), HasCode(1));
  EXPECT_GT(call("detail", viewer).integer("viewSessionId"), session);
  EXPECT_EQ(call("detail", viewer).integer("viewCount"), 2);
  EXPECT_EQ(call("update-viewcount", host).data(), json::Value(false));
  EXPECT_EQ(call("leave-stream", viewer, {{"streamUserId", 99}}).message(),
            "\"streamUserId\": is not the stream's owner");
}

TEST_F(LiveBroadcast, ViewerListHasMembersAndGuestsWithoutTheirTokens) {
  (void)call("update-viewcount", viewer);
  (void)call("update-viewcount", guest);
  const auto page = [&](std::int64_t nextId) {
    return call("viewer-list", viewer, {{"nextId", nextId}, {"limit", 1}});
  };
  EXPECT_THAT(page(0).body, HasSubstr("\"userName\":\"viewer\""));
  EXPECT_THAT(page(0).body, Not(HasSubstr("oken\":")));
  EXPECT_THAT(page(1).body, HasSubstr("\"data\":[{\"guestId\":1000000001}]"));
  EXPECT_EQ(page(2).data(), json::Value(json::Array{}));
  (void)call("end", host);
  EXPECT_EQ(page(0).data(), json::Value(json::Array{}));
}

TEST_F(LiveBroadcast, LikesAddUpAndAUniqueOneComesOnce) {
  EXPECT_EQ(like(viewer, 3, true).integer("likeCount"), 1) << "one user, one like";
  EXPECT_THAT(like(viewer, 1, true), HasCode(1068));
  EXPECT_EQ(like(viewer, 5, false).integer("likeCount"), 6);
  EXPECT_EQ(like(guest, 2, false).integer("likeCount"), 8);
  EXPECT_EQ(call("detail", guest).integer("isLike"), 1);
  EXPECT_EQ(call("detail", host).integer("isLike"), 0);
}

TEST_F(LiveBroadcast, LikePathWithoutParametersAnswersTheTags) {
  const auto tags = backend.post("/api/streams/tags", {}, viewer);
  EXPECT_THAT(tags.body, HasSubstr(R"({"tagId":2,"tagName":"Music","tagImage":""})"));
  EXPECT_EQ(backend.post("/api/streams/like", {}, viewer).body, tags.body);
  EXPECT_EQ(backend.send("POST", "/api/streams/like", {{"Authorization", "bearer " + viewer}}).body,
            tags.body);
}

TEST_F(LiveBroadcast, ReportHoldsUntilItIsTakenBack) {
  ASSERT_THAT(call("report", guest, {{"reason", "spam"}}), HasCode(1));
  EXPECT_EQ(call("detail", guest).integer("isReport"), 1);
  EXPECT_EQ(call("detail", viewer).integer("isReport"), 0);
  EXPECT_EQ(call("unreport", guest).data(), json::Value(true));
  EXPECT_EQ(call("unreport", guest).data(), json::Value(false));
  EXPECT_EQ(call("detail", guest).integer("isReport"), 0);
}

}  // namespace
}  // namespace zavelo::sandbox

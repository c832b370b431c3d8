#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

TEST_F(LiveBroadcast, PinnedMessageAndTextPositionAreSeenByViewers) {
  EXPECT_EQ(call("pinned", viewer).data(), json::Value(""));
  ASSERT_THAT(call("update-pinned", host, {{"data", "Sale! \U0001F389"}}), HasCode(1));
  ASSERT_THAT(call("update-position", host, {{"data", "0.25,0.5"}}), HasCode(1));
  EXPECT_EQ(call("pinned", viewer).data(), json::Value("Sale! \U0001F389"));
  EXPECT_EQ(call("position", guest).data(), json::Value("0.25,0.5"));
  ASSERT_THAT(call("recording", host), HasCode(1));
  EXPECT_EQ(call("detail", viewer).data("isRecorded"), json::Value(true));
  EXPECT_THAT(call("share-click-tracking", guest), HasCode(1));
}

TEST_F(LiveBroadcast, UploadsAreServedBackAsTheyCame) {
  const std::string cover = jpegFile(20, 10);
  const std::string chat(12'000'000, '\x7f');
  ASSERT_THAT(backend.upload("/api/streams/save-cover", {{"slug", slug}}, {"image", cover}, host),
              HasCode(1));
  (void)call("end", host);
  ASSERT_THAT(backend.upload("/api/streams/save-history-chat", {{"slug", slug}},
                             {"historyChatFile", chat, "text/plain; charset=utf-8"}, host),
              HasCode(1));
  const auto stream = call("detail", viewer);
  const auto picture = backend.fetch(stream.text("coverImage"));
  EXPECT_EQ(picture.contentType, "image/jpeg");
  EXPECT_EQ(picture.body, cover);
  const auto history = backend.fetch(stream.text("historyChat"));
  EXPECT_EQ(history.contentType, "text/plain; charset=utf-8");
  EXPECT_TRUE(history.body == chat);
}

TEST_F(LiveBroadcast, UploadsThatAreNotWhatTheySayAreRefused) {
  const auto cover = [&](const std::string& file, const std::string& type) {
    return backend.upload("/api/streams/save-cover", {{"slug", slug}}, {"image", file, type}, host)
        .message();
  };
  EXPECT_EQ(cover("GIF89a", "image/jpeg"),
            "\"image\": is not a valid JPEG of at most 16 megapixels");
  EXPECT_EQ(cover(jpegFile(2, 2), "image/png"), "\"image\": expected type image/jpeg");
  EXPECT_EQ(call("save-cover", host, {{"image", "text"}}).message(),
            "\"image\": expected a file in a form");
  EXPECT_EQ(call("save-history-chat", host).message(), "\"historyChatFile\": missing");
  EXPECT_EQ(call("detail", host).text("coverImage"), "");
}

TEST_F(LiveBroadcast, CoHostsHaveTheirPositions) {
  const auto id = owner.integer("userInfo.userId");
  const auto ann = backend.join("ann");
  const auto annId = ann.integer("userInfo.userId");
  const auto change = [&](const char* operation, std::int64_t position, std::int64_t guestId) {
    return call(operation, host, {{"position", position}, {"guestId", guestId}, {"userId", id}});
  };
  EXPECT_EQ(call("co-hosts-credits", host).message(), "\"slug\": this stream has no co-host");
  ASSERT_THAT(change("add-co-host", 2, annId), HasCode(1));
  EXPECT_EQ(change("add-co-host", 2, annId + 1).message(), "\"guestId\": there is no such member");
  (void)backend.join("bob");
  EXPECT_EQ(change("add-co-host", 2, annId + 1).message(), "\"position\": is taken");
  EXPECT_EQ(change("add-co-host", 3, annId).message(),
            "\"guestId\": is a co-host of this stream already");
  EXPECT_EQ(change("add-co-host", 3, id).message(), "\"guestId\": is the stream's owner");
  ASSERT_THAT(change("add-co-host", 1, annId + 1), HasCode(1));

  EXPECT_EQ(call("co-hosts-credits", viewer).integer("position"), 1) << "the first";
  const auto own = call("co-hosts-credits", ann.text("accessToken"));
  EXPECT_EQ(own.integer("position"), 2);
  EXPECT_EQ(own.integer("guestId"), annId);
  EXPECT_EQ(own.integer("userId"), id);

  EXPECT_EQ(change("remove-co-host", 1, annId).message(),
            "\"guestId\": is no co-host at that position");
  EXPECT_THAT(change("remove-co-host", 2, annId), HasCode(1));
  EXPECT_THAT(change("add-co-host", 2, annId), HasCode(1));
}

}  // namespace
}  // namespace zavelo::sandbox

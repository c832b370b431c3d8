#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

class LockedBroadcast : public LiveBroadcast {
 protected:
  void SetUp() override {
    LiveBroadcast::SetUp();
    ASSERT_THAT(act("lock-stream", {{"slug", slug}, {"password", "sesame"}}), HasCode(1));
  }
  [[nodiscard]] Answer act(const std::string& action, json::Object body) const {
    body.set("action", action);
    return backend.post("/sandbox/actions", body);
  }
  [[nodiscard]] Answer open(const std::string& password, const std::string& token) const {
    return backend.post("/api/streams/detail/pwd",
                        {{"title", "A <b>title</b> &amp; more"}, {"password", password}}, token);
  }
};

TEST_F(LockedBroadcast, WithoutThePasswordItDoesNotPlay) {
  const auto closed = call("detail", viewer);
  EXPECT_EQ(closed.data("isLocked"), json::Value(true));
  for (const char* address : {"streamUrl", "streamFlvUrl", "webStreamPlay"})
    EXPECT_EQ(closed.data(address), json::Value()) << address;
  EXPECT_THAT(call("update-viewcount", viewer), HasCode(1098));
  EXPECT_THAT(like(viewer, 1, false), HasCode(1098));
  EXPECT_THAT(open("simsim", viewer), HasCode(1098));
  EXPECT_NE(call("detail", host).text("streamUrl"), "") << "it is the owner's";
}

TEST_F(LockedBroadcast, PasswordOpensItForWhoGaveIt) {
  const auto opened = open("sesame", viewer);
  EXPECT_EQ(opened.text("slug"), slug);
  EXPECT_NE(opened.text("streamUrl"), "");
  EXPECT_THAT(call("update-viewcount", viewer), HasCode(1));
  EXPECT_THAT(call("update-viewcount", guest), HasCode(1098));

  ASSERT_THAT(act("lock-stream", {{"slug", slug}, {"password", "new"}}), HasCode(1));
  EXPECT_THAT(call("update-viewcount", viewer), HasCode(1098));
  ASSERT_THAT(act("unlock-stream", {{"slug", slug}}), HasCode(1));
  EXPECT_THAT(call("update-viewcount", guest), HasCode(1));
}

TEST_F(LockedBroadcast, PasswordDecidesBetweenStreamsOfOneTitle) {
  const auto first = slug;
  slug = create("A <b>title</b> &amp; more", host).text("slug");
  ASSERT_THAT(act("lock-stream", {{"slug", slug}, {"password", "second"}}), HasCode(1));
  EXPECT_EQ(open("sesame", guest).text("slug"), first);
  EXPECT_EQ(open("second", guest).text("slug"), slug);
}

TEST_F(LockedBroadcast, ActionSaysWhatItTakes) {
  EXPECT_EQ(act("lock-stream", {{"slug", slug}}).message(), "\"password\": missing");
  EXPECT_EQ(act("ban", {{"userName", "host"}, {"slug", slug}}).message(),
            "\"slug\": unknown parameter");
  EXPECT_EQ(act("unlock-stream", {{"slug", "none"}}).message(),
            "\"slug\": there is no such stream");
}

}  // namespace
}  // namespace zavelo::sandbox

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "support/loopback_server.hpp"
#include "support/temporary_folder.hpp"
#include "tests/support/recorded_log.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace zavelo {
namespace {

class ChatDownload : public ::testing::Test {
 protected:
  void download(std::string address) {
    ZaveloRecordedMessageDownloader(std::move(address), {session_, main_, background_})
        .download([this](ZVRecordedMessages events) {
          ++answers_;
          count_ = events.size();
        });
  }
  /// The number of events of one download that needs no waiting.
  std::size_t downloaded(std::string address) {
    answers_ = 0;
    download(std::move(address));
    background_->runDue();
    EXPECT_EQ(answers_, 0);
    main_->runDue();
    EXPECT_EQ(answers_, 1);
    return count_;
  }

  const std::shared_ptr<testing::ScriptedHttpSession> session_ =
      std::make_shared<testing::ScriptedHttpSession>();
  const std::shared_ptr<testing::ManualQueue> main_ = std::make_shared<testing::ManualQueue>();
  std::shared_ptr<testing::ManualQueue> background_ = std::make_shared<testing::ManualQueue>();
  int answers_ = 0;
  std::size_t count_ = 0;
};

TEST_F(ChatDownload, ReadsAFileByItsPathOrItsUrl) {
  const auto log = testing::RecordedLog::install();
  const test::TemporaryFolder folder;
  const auto path = (folder / "a chat #1%.json").string();
  std::ofstream(path) << R"([{"message":"a"},{"message":"b"}])";
  const auto url = folder.path().string() + "/a%20chat%20%231%25.json";
  for (const auto& address :
       {path, "file://" + url, "FILE://LocalHost" + url + "?x#y", "file:" + url})
    EXPECT_EQ(downloaded(address), 2u) << address;
  EXPECT_TRUE(log->entries().empty());
}

TEST_F(ChatDownload, AnswersWithNothingForAnAddressThatIsNoneOrCannotBeRead) {
  const auto log = testing::RecordedLog::install();
  const test::TemporaryFolder folder;
  const auto here = folder.path().string();
  for (const auto& address :
       {std::string(), std::string("not an address"), here, here + "/missing.json",
        "file://" + here, "file://elsewhere" + here, std::string("file://"),
        "file://" + here + "/%zz", "file://" + here + "/%00", "file://" + here + "/%4",
        std::string("ftp://127.0.0.1/chat.json"), std::string("/dev/zero"),
        here + std::string("\0", 1)})
    EXPECT_EQ(downloaded(address), 0u) << address;
  EXPECT_TRUE(session_->requests().empty());
  EXPECT_TRUE(log->entries().empty());
}

TEST_F(ChatDownload, FetchesAnHttpAddress) {
  session_->reply(200, R"([{"message":"a"}])");
  EXPECT_EQ(downloaded("http://127.0.0.1/chat.json"), 1u);
  EXPECT_EQ(session_->requests().at(0).url, "http://127.0.0.1/chat.json");
  session_->reply(404, "[{}]");
  EXPECT_EQ(downloaded("HTTPS://127.0.0.1/chat.json"), 0u);
  session_->fail({HttpFailure::Kind::unreachable, "nobody there"});
  EXPECT_EQ(downloaded("http://127.0.0.1/chat.json"), 0u);
  session_->lose();
  EXPECT_EQ(downloaded("http://127.0.0.1/chat.json"), 0u);
}

TEST_F(ChatDownload, SaysWhyThereIsNothingToWhoeverAsks) {
  const auto log = testing::RecordedLog::install();
  const test::TemporaryFolder folder;
  const auto path = (folder / "chat.json").string();
  std::ofstream(path) << R"([{},{"message":1}])";
  session_->reply(404, "[{}]");
  for (const auto& [address, reason] : std::map<std::string, std::string>{
           {"ftp://127.0.0.1/chat.json", "not a path, file URL, http or https URL"},
           {path + "x", "No such file or directory"},
           {folder.path().string(), "not a regular file"},
           {path, "[1].message: expected text"},
           {"http://127.0.0.1/chat.json", "HTTP status 404"}}) {
    std::string told;
    ZaveloRecordedMessageDownloader(address, {session_, main_, background_}).load([&](auto loaded) {
      told = loaded ? "loaded" : loaded.error();
    });
    background_->runDue();
    main_->runDue();
    EXPECT_EQ(told, reason) << address;
  }
  EXPECT_TRUE(log->entries().empty());
}

TEST_F(ChatDownload, IsAnsweredThoughTheQueueIsClosedBefore) {
  download("chat.json");
  background_.reset();
  main_->runDue();
  EXPECT_EQ(answers_, 1);
}

TEST(ChatDownloads, ComeFromARealServerSeveralAtOnce) {
  std::string chat = "[{}";
  for (int i = 0; i < 50'000; ++i) chat += R"(,{"message":"a line of chat"})";
  chat += "]";
  test::LoopbackServer server(
      [&](const test::ReceivedRequest& request, test::ServerConnection& connection) {
        if (request.target == "/whole") return connection.reply(200, chat);
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n[{}]");
        connection.close();
      });
  const auto session = std::make_shared<CurlHttpSession>();
  const auto main = std::make_shared<MainQueue>();
  const auto background = std::make_shared<BackgroundQueue>();
  std::multiset<std::size_t> sizes;
  for (const char* path : {"/whole", "/cut", "/whole", "/whole"})
    ZaveloRecordedMessageDownloader(server.url(path), {session, main, background})
        .download([&](ZVRecordedMessages events) {
          sizes.insert(events.size());
          if (sizes.size() == 4) main->stop();
        });
  main->run();
  EXPECT_EQ(sizes, (std::multiset<std::size_t>{0, 50'001, 50'001, 50'001}));
}

}  // namespace
}  // namespace zavelo

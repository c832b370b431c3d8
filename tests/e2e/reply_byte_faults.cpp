#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <mutex>

#include "support/loopback_server.hpp"
#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/platform/background_queue.hpp"

namespace zavelo::test {
namespace {

using namespace std::chrono_literals;

enum class Fault { cut, reset, delay, flip };
constexpr Fault faults[] = {Fault::cut, Fault::reset, Fault::delay, Fault::flip};

std::string response(const char* status, const std::string& body) {
  return std::string("HTTP/1.1 ") + status +
         "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

const std::string tokens =
    R"({"code":1,"data":{"accessToken":"a","refreshToken":"r","expires":"later"}})";
const std::string record = response(
    "200 OK", R"({"code":1,"data":{"result":[{"userName":"ann","isFollow":1}],"isEnd":true}})");

/// The replies that each path gives, in turn; the last one again and again.
std::vector<std::string> repliesOf(const std::string& path) {
  if (path == "/expired") return {response("401 Unauthorized", "{}"), record};
  if (path == "/api/users/refresh") return {response("200 OK", tokens)};
  if (path == "/chat.json")
    return {response("200 OK", R"([{"senderUserId":42,"messageType":1,"message":"hello",)"
                               R"("recordedTime":5000},{"messageType":1,"recordedTime":6000}])")};
  if (path == "/api/users/zavelo-login")
    return {response("200 OK", R"({"code":1,"data":{"accessToken":"a","refreshToken":"r",)"
                               R"("userInfo":{"userName":"ann"}}})")};
  return {record};
}

/// Spoils one byte of one of the replies to come, and says how long each of them was.
class SpoilingServer {
 public:
  [[nodiscard]] std::string url(const std::string& path) const { return server_.url(path); }

  /// For the replies from now on: `reply` counts them.
  void spoil(Fault fault, std::size_t reply, std::size_t byte) {
    const std::lock_guard lock(mutex_);
    fault_ = fault;
    spoilt_ = reply;
    byte_ = byte;
    lengths_.clear();
    paths_.clear();
  }
  std::vector<std::size_t> lengths() {
    const std::lock_guard lock(mutex_);
    return lengths_;
  }

 private:
  void answer(const ReceivedRequest& request, ServerConnection& connection) {
    std::unique_lock lock(mutex_);
    const auto replies = repliesOf(request.target);
    std::string bytes = replies.at(std::min(paths_[request.target]++, replies.size() - 1));
    const bool spoilt = lengths_.size() == spoilt_;
    const auto [fault, byte] = std::pair(fault_, byte_);
    lengths_.push_back(bytes.size());
    lock.unlock();
    if (!spoilt) return connection.send(bytes);
    if (fault == Fault::flip) {
      bytes.at(byte) = static_cast<char>(bytes.at(byte) ^ 0x10);
      connection.send(bytes);
      return connection.close();  // a length that was spoilt is not waited for
    }
    connection.send(bytes.substr(0, byte));
    if (fault == Fault::cut) return connection.close();
    if (fault == Fault::reset) return connection.reset();
    std::this_thread::sleep_for(2ms);
    connection.send(bytes.substr(byte));
  }

  std::mutex mutex_;
  Fault fault_ = Fault::cut;
  std::size_t spoilt_ = std::string::npos;
  std::size_t byte_ = 0;
  std::vector<std::size_t> lengths_;
  std::map<std::string, std::size_t> paths_;
  LoopbackServer server_{[this](const ReceivedRequest& request, ServerConnection& connection) {
    answer(request, connection);
  }};
};

class ReplyByteFaults : public ::testing::Test {
 protected:
  /// One call that ends in an answer of the app.
  using Call = std::function<void()>;

  /// Each byte of each reply to the call, each fault; one answer to each call.
  void run(const char* name, const Call& prepare, const Call& call) {
    const std::size_t step = std::getenv("ZAVELO_EVERY_BYTE") != nullptr ? 1 : 5;
    constexpr auto none = std::string::npos;
    const auto once = [&](Fault fault, std::size_t reply, std::size_t byte) {
      server_.spoil(Fault::cut, none, 0);
      prepare();
      server_.spoil(fault, reply, byte);
      const auto before = app_.answers.size();
      call();
      app_.waitForAnswers(before + 1);
      ASSERT_EQ(app_.answers.size(), before + 1);
    };
    once(Fault::cut, none, 0);
    ASSERT_TRUE(app_.answers.back().ok) << app_.answers.back().error.description;
    const auto lengths = server_.lengths();
    std::size_t cases = 0;
    std::size_t failed = 0;
    for (std::size_t reply = 0; reply < lengths.size(); ++reply) {
      for (std::size_t byte = 0; byte < lengths[reply]; byte += step) {
        for (const Fault fault : faults) {
          once(fault, reply, byte);
          ++cases;
          failed += app_.answers.back().ok ? 0 : 1;
          // A GET is repeated until its reply has begun, and a 401 counts however it ends.
          const bool certain = byte > 0 && (reply > 0 || lengths.size() == 1);
          if (certain && fault != Fault::flip) {
            EXPECT_EQ(app_.answers.back().ok, fault == Fault::delay) << reply << ", " << byte;
          }
        }
      }
    }
    std::cout << name << ": " << cases << " cases, " << failed << " failed calls\n";
  }

  ZVCall request(const char* path, bool asForm = false) {
    std::vector<ZVMultiPartData> files;
    if (asForm) files.push_back({std::vector<std::byte>(20'000), "file", "image/jpeg", "a.jpg"});
    return app_.api->request<std::shared_ptr<ZVSearchUser>>(
        server_.url(path), ZVHTTPMethod::post, json::Object{{"limit", 5}},
        ZVParameterEncoding::json, 0, std::move(files), asForm, ZVAPIService::APILogLevel::none,
        app_.answered<std::shared_ptr<ZVSearchUser>>());
  }

  SpoilingServer server_;
  const TemporaryFolder folder_;
  App app_{server_.url(""), folder_ / "store"};
};

TEST_F(ReplyByteFaults, CallWithARecordCompletesOnce) {
  run(
      "record", [] {}, [this] { request("/record"); });
}

TEST_F(ReplyByteFaults, CallWithARenewalCompletesOnce) {
  run(
      "renewal",
      [this] {
        // A kept-alive connection that the last fault has left to close may fail one call more.
        EXPECT_TRUE(app_.signIn("ann").ok || app_.signIn("ann").ok || app_.signIn("ann").ok);
      },
      [this] { request("/expired"); });
}

TEST_F(ReplyByteFaults, UploadCompletesOnce) {
  run(
      "upload", [] {}, [this] { request("/upload", true); });
}

TEST_F(ReplyByteFaults, DownloadOfAChatCompletesOnce) {
  const auto session = std::make_shared<CurlHttpSession>();
  const auto background = std::make_shared<BackgroundQueue>();
  const ZaveloRecordedMessageDownloader chat(server_.url("/chat.json"),
                                             {session, app_.queue, background});
  run(
      "chat", [] {},
      [&] {
        chat.load([answer = app_.answered<bool>()](auto loaded) mutable {
          answer(loaded ? ZVAPIResult<bool>::ok(true)
                        : ZVAPIResult<bool>::error({ZVAPIErrorType::unknown, loaded.error()}));
        });
      });
}

}  // namespace
}  // namespace zavelo::test

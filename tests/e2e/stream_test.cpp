#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <optional>

#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"
#include "tests/sandbox/backend.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/services/product_service.hpp"
#include "zavelo/services/stream_service.hpp"

// What an app may hand to the stream and product services, at the real backend.

namespace zavelo::test {
namespace {

using ::testing::HasSubstr;
using Stream = std::shared_ptr<ZVStream>;

std::vector<std::byte> bytesOf(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return {bytes, bytes + text.size()};
}

/// A text of about so many code points from all over Unicode, unassigned ones too.
std::string someOfAllUnicode(std::size_t count) {
  std::string text;
  const std::uint32_t step = static_cast<std::uint32_t>(0x110000 / count) + 1;
  for (std::uint32_t codePoint = 1; codePoint < 0x110000; codePoint += step) {
    if (codePoint >= 0xD800 && codePoint < 0xE000) continue;
    const auto quoted = [&](std::uint32_t unit) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", unit);
      return std::string(escape.data());
    };
    const std::uint32_t high = codePoint - 0x10000;
    const std::string escape =
        codePoint < 0x10000 ? quoted(codePoint)
                            : quoted(0xD800 + (high >> 10)) + quoted(0xDC00 + (high & 0x3FF));
    text += json::decode<std::string>("\"" + escape + "\"").value();
  }
  return text;
}

class Broadcast : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(app.signIn("mai").ok); }

  /// What comes of a call that is given its completion.
  template <class T, class Call>
  ZVAPIResult<T> answerTo(Call call) {
    std::optional<ZVAPIResult<T>> answer;
    call(ZVCompletion<T>([&](ZVAPIResult<T> result) {
      answer = std::move(result);
      app.queue->stop();
    }));
    while (!answer) app.queue->run();
    return *answer;
  }
  ZVAPIResult<Stream> create(const std::string& title) {
    return answerTo<Stream>([&](auto completion) {
      streams->createStream(title, 1, 21.02, 105.85, "Hanoi", 720, "VN",
                            ZVStreamScreenType::portrait, ZVStreamType::user, std::nullopt,
                            std::move(completion));
    });
  }
  /// What the backend says of a parameter that it does not take.
  template <class T, class Call>
  std::string complaint(Call call) {
    const auto answer = answerTo<T>(std::move(call));
    if (answer.isOk()) return "none";
    EXPECT_EQ(answer.error().type, ZVAPIErrorType::modelInvalid);
    return answer.error().description;
  }

  const TemporaryFolder folder;
  const sandbox::Backend backend;
  App app{backend.sandbox->url(), folder / "store"};
  const std::shared_ptr<ZVStreamService> streams =
      ZVStreamService::create({app.api, std::make_shared<SystemClock>()});
  const std::shared_ptr<ZVProductService> products = ZVProductService::create({app.api});
};

TEST_F(Broadcast, TitleMayHoldAllOfUnicode) {
  const std::string title = someOfAllUnicode(150);
  const auto created = create(title);
  ASSERT_TRUE(created.isOk()) << created.error().description;
  const auto detail = answerTo<Stream>([&](auto completion) {
    streams->getStreamDetail(*created.data()->slug, std::move(completion));
  });
  EXPECT_EQ(detail.data()->title, title);
  EXPECT_EQ(detail.data()->publisher->userName, "mai");
}

TEST_F(Broadcast, BadParametersAreNamed) {
  using Page = std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>;
  EXPECT_THAT(complaint<Stream>([&](auto done) { streams->getStreamDetail("", std::move(done)); }),
              HasSubstr("\"slug\""));
  EXPECT_THAT(complaint<Page>([&](auto done) { products->getProducts(0, -1, std::move(done)); }),
              HasSubstr("\"limit\""));
  EXPECT_THAT(complaint<Page>([&](auto done) { products->getProducts(-7, 20, std::move(done)); }),
              HasSubstr("\"nextId\""));
  const auto titled = [&](const std::string& title) {
    const auto answer = create(title);
    return answer.isOk() ? "" : answer.error().description;
  };
  EXPECT_THAT(titled(std::string("a\0b", 3)), HasSubstr("\"streamTitle\""));
  EXPECT_THAT(titled(std::string(900'000, 'x')), HasSubstr("\"streamTitle\""));
  EXPECT_NE(titled(std::string(2'000'000, 'x')), "") << "more than a body may have";
  EXPECT_NE(titled("\xFF"), "") << "no UTF-8: not sent";
}

TEST_F(Broadcast, SavedChatIsReplayedFromTheAddressInTheStreamsRecord) {
  const auto slug = *create("t").data()->slug;
  const auto saved = answerTo<bool>([&](auto done) {
    streams->saveChatHistory(
        slug, bytesOf(R"([{"messageType":1,"message":"hello","recordedTime":5000}])"),
        std::move(done));
  });
  ASSERT_TRUE(saved.isOk()) << saved.error().description;
  const auto detail =
      answerTo<Stream>([&](auto done) { streams->getStreamDetail(slug, std::move(done)); });
  std::optional<ZVRecordedMessages> chat;
  const ZaveloRecordedMessageDownloader downloader(
      *detail.data()->historyChat,
      {std::make_shared<CurlHttpSession>(), app.queue, std::make_shared<BackgroundQueue>()});
  downloader.download([&](ZVRecordedMessages events) {
    chat = std::move(events);
    app.queue->stop();
  });
  while (!chat) app.queue->run();
  ASSERT_EQ(chat->size(), 1U);
  EXPECT_EQ(chat->front()->message, "hello");
}

TEST_F(Broadcast, UploadThatIsNoJpegIsRefusedAndNothingIsStored) {
  const auto slug = *create("t").data()->slug;
  for (const std::string& file : {std::string(), std::string("\xFF\xD8\xFF no picture")}) {
    EXPECT_THAT(complaint<bool>([&](auto done) {
                  streams->saveStreamCoverImage(slug, bytesOf(file), std::move(done));
                }),
                HasSubstr("\"image\""));
  }
  const auto added = answerTo<std::shared_ptr<ZVStreamProduct>>([&](auto done) {
    products->addProduct("n", 1, 1, std::nullopt, bytesOf("x"), "https://a.test/", std::nullopt,
                         std::move(done));
  });
  EXPECT_FALSE(added.isOk());
  const auto page = answerTo<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>>(
      [&](auto done) { products->getProducts(0, 20, std::move(done)); });
  EXPECT_EQ(page.data()->totalRecords, 0);
}

TEST_F(Broadcast, AnswerOfAnotherTypeFailsAndSaysWhere) {
  const auto slug = *create("t").data()->slug;
  ASSERT_THAT(backend.post("/sandbox/faults",
                           {{"endpoint", "/api/streams/detail"}, {"fault", "wrongType"}}),
              sandbox::HasCode(1));
  const auto detail =
      answerTo<Stream>([&](auto done) { streams->getStreamDetail(slug, std::move(done)); });
  EXPECT_EQ(detail.error().type, ZVAPIErrorType::invalidData);
  EXPECT_THAT(detail.error().detail, HasSubstr("data."));
}

}  // namespace
}  // namespace zavelo::test

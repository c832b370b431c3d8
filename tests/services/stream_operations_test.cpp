#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "tests/support/api_fixture.hpp"
#include "zavelo/services/product_service.hpp"
#include "zavelo/services/stream_service.hpp"

namespace zavelo {
namespace {

using json::Object;

std::vector<std::byte> bytesOf(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return {bytes, bytes + text.size()};
}

class StreamOperations : public testing::ApiFixture {
 protected:
  std::string path(std::size_t index) const {
    return http->requests().at(index).url.substr(std::string("https://api.test").size());
  }
  /// The last request's form: what stands under each name, files with their name and type.
  std::map<std::string, std::string> form() const {
    const auto requests = http->requests();
    std::map<std::string, std::string> fields;
    for (const auto& part : std::get<std::vector<HttpFormPart>>(requests.back().body))
      fields[part.name] = (part.fileName.empty() ? "" : part.fileName + " " + part.mimeType + " ") +
                          part.data.text();
    return fields;
  }

  const std::shared_ptr<ZVStreamService> stream = ZVStreamService::create({api, clock});
  const std::shared_ptr<ZVProductService> product = ZVProductService::create({api});
  int answers = 0;
};

TEST_F(StreamOperations, SendWhatTheBackendExpectsWhereItExpectsIt) {
  const auto count = [this](const auto&) { ++answers; };
  const Object slug{{"slug", "s"}};
  const Object page{{"slug", "s"}, {"nextId", 5}, {"limit", -1}};
  const Object data{{"slug", "s"}, {"data", "d"}};
  const Object coHost{{"position", 1}, {"guestId", 2}, {"userId", 3}, {"slug", "s"}};
  const Object created{{"streamTitle", "t"},  {"tagId", 4},      {"latitude", 1.5},
                       {"longitude", 2.0},    {"address", "a"},  {"resolution", 720},
                       {"countryCode", "VN"}, {"screenType", 1}, {"streamType", 5}};
  struct Row {
    std::function<void()> call;
    std::string path;
    std::optional<Object> parameters;
  };
  const std::vector<Row> rows{
      {[&] {
         stream->createStream("t", 4, 1.5, 2, "a", 720, "VN", ZVStreamScreenType::landscape,
                              ZVStreamType::pk, std::nullopt, count);
       },
       "/api/streams/create", created},
      {[&] { stream->getStreamDetail("s", count); }, "/api/streams/detail", slug},
      {[&] { stream->getStreamDetailWithPWD("t", "p", count); }, "/api/streams/detail/pwd",
       Object{{"title", "t"}, {"password", "p"}}},
      {[&] { stream->updateStreamViewCount("s", count); }, "/api/streams/update-viewcount", slug},
      {[&] { stream->getResumeStreamDetail("s", count); }, "/api/streams/resume-detail", slug},
      {[&] { stream->beginStream("s", count); }, "/api/streams/begin", slug},
      {[&] { stream->endStream("s", count); }, "/api/streams/end", slug},
      {[&] { stream->getStreamStatistic("s", count); }, "/api/streams/statistic", slug},
      {[&] { stream->likeStream("s", 3, true, count); }, "/api/streams/like",
       Object{{"slug", "s"}, {"count", 3}, {"isUnique", true}}},
      {[&] { stream->getStreamTags(count); }, "/api/streams/like", std::nullopt},
      {[&] { stream->reportStream("r", "s", count); }, "/api/streams/report",
       Object{{"reason", "r"}, {"slug", "s"}}},
      {[&] { stream->unreportStream("s", count); }, "/api/streams/unreport", slug},
      {[&] { stream->deleteStream("s", count); }, "/api/streams/delete", slug},
      {[&] { stream->recordStream("s", count); }, "/api/streams/recording", slug},
      {[&] { stream->leaveStream(7, "s", count); }, "/api/streams/leave-stream",
       Object{{"streamUserId", 7}, {"slug", "s"}}},
      {[&] { stream->getStreamFloatingTextPosition("s", count); }, "/api/streams/position", slug},
      {[&] { stream->updateStreamFloatingTextPosition("d", "s", count); },
       "/api/streams/update-position", data},
      {[&] { stream->resumeStream("s", count); }, "/api/streams/resume", slug},
      {[&] { stream->getStreamProductList("s", 5, -1, count); }, "/api/streams/products", page},
      {[&] { stream->addStreamCoHost("s", 1, 2, 3, count); }, "/api/streams/add-co-host", coHost},
      {[&] { stream->removeStreamCoHost("s", 1, 2, 3, count); }, "/api/streams/remove-co-host",
       coHost},
      {[&] { stream->getCoHostCredits("s", count); }, "/api/streams/co-hosts-credits", slug},
      {[&] { stream->getAudienceList("s", 5, -1, count); }, "/api/streams/viewer-list", page},
      {[&] { stream->setPinnedMessage("s", "d", count); }, "/api/streams/update-pinned", data},
      {[&] { stream->getPinnedMessage("s", count); }, "/api/streams/pinned", slug},
      {[&] { stream->shareClickTracking("s", count); }, "/api/streams/share-click-tracking", slug},
      {[&] { product->getProducts(0, 20, count); }, "/api/users/products",
       Object{{"nextId", 0}, {"limit", 20}}},
      {[&] { product->editProductOrder(9, "s", 2, count); }, "/api/products/edit-order",
       Object{{"productId", 9}, {"slug", "s"}, {"orderIndex", 2}}},
      {[&] { product->deleteAllProduct(count); }, "/api/products/delete-all", Object{}},
      {[&] { product->deleteProduct(9, count); }, "/api/products/delete", Object{{"productId", 9}}},
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    http->reply(200, R"({"code":0})");
    rows[i].call();
    queue->runDue();
    EXPECT_EQ(path(i), rows[i].path);
    EXPECT_EQ(http->requests()[i].method, ZVHTTPMethod::post);
    const bool hasBody = std::holds_alternative<std::string>(http->requests()[i].body);
    EXPECT_EQ(hasBody, rows[i].parameters.has_value()) << path(i);
    EXPECT_EQ(sent(i), rows[i].parameters.value_or(Object{})) << path(i);
  }
  EXPECT_EQ(answers, std::ssize(rows));
}

TEST_F(StreamOperations, UploadBytesAsOneFileBesideTheFields) {
  using Form = std::map<std::string, std::string>;
  const auto count = [this](const auto&) { ++answers; };
  for (int i = 0; i < 4; ++i) http->reply(200, R"({"code":1,"data":{}})");
  stream->saveStreamCoverImage("s", bytesOf("jpeg"), count);
  EXPECT_EQ(form(), (Form{{"slug", "s"}, {"image", "image.jpeg image/jpeg jpeg"}}));
  clock->advance(std::chrono::milliseconds(1'600'000'000'250));
  stream->saveChatHistory("s", bytesOf("chat"), count);
  EXPECT_EQ(form(), (Form{{"slug", "s"}, {"historyChatFile", "1600000000.25 text/plain chat"}}));
  product->addProduct("n", 10, 9.5, std::nullopt, bytesOf("jpeg"), "u", std::nullopt, count);
  Form added{{"name", "n"},
             {"price", "10.0"},
             {"promotionPrice", "9.5"},
             {"url", "u"},
             {"image", "image.jpeg image/jpeg jpeg"}};
  EXPECT_EQ(form(), added);
  product->editProduct(4, "n", 10, 9.5, "d", bytesOf("jpeg"), "u", "k", count);
  added.insert({{"id", "4"}, {"description", "d"}, {"sku", "k"}});
  EXPECT_EQ(form(), added);
  queue->runDue();
  EXPECT_EQ(answers, 4);
}

TEST_F(StreamOperations, AWrongTypeDeepInAListFailsTheWholeAndSaysWhere) {
  http->reply(200, R"({"code":1,"data":[{"userInfo":{"userId":1}},{"userInfo":{"userId":"2"}}]})");
  stream->getAudienceList("s", 0, 20, [this](auto result) {
    EXPECT_EQ(result.error().type, ZVAPIErrorType::invalidData);
    EXPECT_EQ(result.error().detail, "data[1].userInfo.userId: expected integer");
    ++answers;
  });
  queue->runDue();
  EXPECT_EQ(answers, 1);
}

}  // namespace
}  // namespace zavelo

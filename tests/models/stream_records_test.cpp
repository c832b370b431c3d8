#include <gtest/gtest.h>

#include <type_traits>

#include "tests/models/expect_kept.hpp"
#include "tests/support/fault_of.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/models/config.hpp"
#include "zavelo/models/event.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/stream_product.hpp"
#include "zavelo/models/stream_totals.hpp"

namespace zavelo {
namespace {

using Stream = std::shared_ptr<ZVStream>;
using ProductPage = ZVPaginationResult<ZVStreamProduct>;

TEST(StreamRecords, KeepEveryFieldUnderItsKeyAndOmitWhatIsAbsent) {
  expectKept<ZVStream>(
      R"({"streamService":2,"likeCount":1,"isLike":1,"isReport":0,"isShowPromo":true,)"
      R"("isMute":false,"historyChat":"h","viewSessionId":2,"statusMessage":"m",)"
      R"("publisher":{"isFollow":1,"totalGold":1,"totalGoldFans":2,"isSeller":true,)"
      R"("isHideHeartStream":false,"isHideTextJoinStream":true,"isHideViewerListStream":false,)"
      R"("isCheckTimeSendMessage":true,"userId":7,"userName":"u","displayName":"d",)"
      R"("userImage":"i","gender":"g","handle":"@u","deviceType":1,"followerCount":3,)"
      R"("userThumbnailImage":"t","isFirstLive":true,"giftReceivable":false},)"
      R"("webStreamUrl":"w","webStreamPlay":"p","rtmpUrl":"r","streamId":3,"userId":7,)"
      R"("slug":"s","coverImage":"c","title":"t","duration":60,"viewCount":4,"streamType":9,)"
      R"("screenType":1,"countryCode":"VN","streamUrl":"u","streamFlvUrl":"f","status":1,)"
      R"("tags":"a,b","isRecorded":true,"isDeleted":false,"isLocked":true,"created":"x",)"
      R"("beginStream":"y","endStream":"z","latitude":"10.5","longitude":"106","address":"a",)"
      R"("resolution":720,"orderButtonText":"o","orderInProgressText":"n","streamMode":1,)"
      R"("promoCode":"P","promoCodeDescription":"q","cartUrl":"k","isShowLikeCount":true,)"
      R"("isShowViewCount":false,"titlePlainText":"tt","bitRate":2500})");
  expectKept<ZVStreamStatistic>(
      R"({"viewCount":1,"giftCount":2,"likeCount":3,"followerCount":4,"totalGold":5,"status":6,)"
      R"("statusMessage":"m","duration":7,"afkStatus":0,"isShowLike":true,"isShowView":false,)"
      R"("promoCode":"P","promoCodeDescription":"q","cartUrl":"k","bitRate":9})");
  expectKept<ZVStreamProduct>(
      R"({"id":1,"name":"n","price":10.5,"promoCode":"P","promotionPrice":9.0,"imageUrl":"i",)"
      R"("url":"u","label":2,"state":"s","orderIndex":3})");
  expectKept<ZVEndStream>(
      R"({"viewCount":1,"giftCount":2,"likeCount":3,"totalGold":4,"duration":5})");
  expectKept<ZVStreamCoHostCredits>(
      R"({"userId":1,"guestId":2,"userName":"u","displayName":"d","totalGold":3,)"
      R"("totalGoldFans":4,"position":1})");
  expectKept<ZVEvent>(
      R"({"id":1,"title":"t","beginDate":"b","endDate":"e","isPaid":true,"sypnosis":"s",)"
      R"("detail":"d","status":2})");
  expectKept<ZVUserStream>(R"({"result":[{"slug":"s"}],"nextId":1,"isEnd":false})");
  expectKept<ProductPage>(
      R"({"result":[{"id":1}],"nextId":1,"isEnd":true,"totalRecords":1,"promoCode":"P",)"
      R"("promoCodeDescription":"q"})");
  for (const char* text : {"{}", R"({"result":[]})"}) expectKept<ProductPage>(text);
  EXPECT_EQ(json::encode(ProductPage()).value(), "{}");
  EXPECT_EQ(json::decode<ZVEvent>(R"({"synopsis":"s"})")->sypnosis, std::nullopt);
}

TEST(StreamRecords, FailAsAWholeWhereAFieldHasAnotherType) {
  EXPECT_EQ(faultOf<Stream>(R"({"isLike":true})"), "isLike: expected integer");
  EXPECT_EQ(faultOf<Stream>(R"({"isMute":1})"), "isMute: expected flag");
  EXPECT_EQ(faultOf<Stream>(R"({"latitude":10.5})"), "latitude: expected text");
  EXPECT_EQ(faultOf<Stream>(R"({"publisher":{"userId":"7"}})"),
            "publisher.userId: expected integer");
  EXPECT_NE(faultOf<Stream>(R"({"streamService":9})"), "");
  EXPECT_EQ(faultOf<ProductPage>(R"({"result":[{"id":1},{"price":"10"}]})"),
            "result[1].price: expected number");
  const auto stream =
      json::decode<Stream>(R"({"streamService":2,"streamType":6,"publisher":null})");
  EXPECT_EQ((*stream)->streamService, ZVStreamServiceType::ivs);
  EXPECT_EQ(fromRawValue<ZVStreamType>(*(*stream)->streamType), std::nullopt);
  EXPECT_EQ((*stream)->publisher, nullptr);
}

TEST(StreamRecords, LetOnlyWhatIsNotSettledBeChanged) {
  static_assert(!std::is_assignable_v<decltype((std::declval<ZVStreamProduct&>().price)), double>);
  static_assert(!std::is_copy_assignable_v<ZVStreamStatistic>);
  auto product = json::decode<ZVStreamProduct>(R"({"price":10,"label":1})").value();
  product.label = 2;
  product.orderIndex = std::nullopt;
  EXPECT_EQ(product.price, 10.0);
  EXPECT_EQ(*product.price, 10.0);
  EXPECT_EQ(product.name.value_or("none"), "none");
  EXPECT_FALSE(product.url);
}

TEST(Config, ReadsItsFieldsThroughAccessorsThatAnAppMayOverride) {
  const std::string text =
      R"({"profileImageUrl":"p","hoursCacheStatisResources":24,"enableStreamTitle":true,)"
      R"("enableVideoCall":false,"enableNewCashOutIOS":true,"enableNewCashOutAndroid":false,)"
      R"("enableNewVideoCall":true,"iosVersion":"1.2","androidVersion":"1.3",)"
      R"("disablePurchaseMedals":false,"allowRecordChat":true})";
  const auto config = json::decode<std::shared_ptr<ZVConfig>>(text).value();
  EXPECT_EQ(config->profileImageUrl(), "p");
  EXPECT_EQ(config->hoursCacheStatisResources(), 24);
  EXPECT_EQ(config->androidVersion(), "1.3");
  EXPECT_EQ(config->allowRecordChat(), true);
  EXPECT_EQ(json::encode(config).value(), text);
  EXPECT_EQ(json::decode<std::shared_ptr<ZVConfig>>("{}").value()->enableVideoCall(), std::nullopt);
  EXPECT_EQ(faultOf<std::shared_ptr<ZVConfig>>(R"({"iosVersion":1})"), "iosVersion: expected text");

  struct Recording final : ZVConfig {
    using ZVConfig::ZVConfig;
    std::optional<bool> allowRecordChat() const override { return true; }
  };
  const Recording always(ZVConfig::Fields{.allowRecordChat = false});
  EXPECT_EQ(static_cast<const ZVConfig&>(always).allowRecordChat(), true);
}

}  // namespace
}  // namespace zavelo

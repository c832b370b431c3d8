#include <fstream>
#include <thread>

#include "support/temporary_folder.hpp"
#include "tests/sandbox/broadcast.hpp"
#include "zavelo/models/gift_store.hpp"

namespace zavelo::sandbox {
namespace {

using ::testing::HasSubstr;

class GiftTest : public LiveBroadcast {
 protected:
  [[nodiscard]] Answer send(const std::string& token, std::int64_t gift, std::int64_t amount = 1,
                            json::Object more = {}) const {
    for (const auto& [name, value] :
         json::Object{{"slug", slug}, {"giftId", gift}, {"amount", amount}})
      more.set(name, value);
    return backend.post("/api/gifts/send-gift", more, token);
  }
  [[nodiscard]] Answer store(const std::string& token) const {
    return backend.post("/api/gifts/store", {}, token);
  }
  [[nodiscard]] std::int64_t gold(const std::string& token) const {
    return store(token).integer("totalGold");
  }
  [[nodiscard]] Answer act(const json::Object& body) const {
    return backend.post("/sandbox/actions", body);
  }

  static constexpr std::int64_t rose = 1;    // 1 gold
  static constexpr std::int64_t rocket = 9;  // 5,000 gold
};

TEST_F(GiftTest, CatalogueShowsPicturesThatCanBeFetched) {
  const auto text = json::encode(store(viewer).data());
  const auto catalogue = json::decode<ZVGiftStore>(*text);
  ASSERT_TRUE(catalogue) << store(viewer).body;
  EXPECT_GT(ZVGiftCategory::groupCategory(*catalogue->gifts).size(), 1U);
  for (const auto& gift : *catalogue->gifts) {
    EXPECT_EQ(backend.fetch(*gift.giftImage).contentType, "image/svg+xml");
    if (gift.giftAnimationType == 1) {
      EXPECT_TRUE(json::decode<json::Value>(backend.fetch(*gift.giftFile).body));
    }
  }
  EXPECT_EQ(backend.send("GET", "/media/gifts/99.svg").status, 404);
  EXPECT_EQ(gold(guest), 0);
}

TEST_F(GiftTest, GoldBecomesTheReceiversBeansAndTheTotalsTell) {
  const auto other = backend.join("other").text("accessToken");
  ASSERT_THAT(send(other, rose, 40), HasCode(1));
  const auto answer = send(viewer, rose, 30);
  const auto sent = json::decode<ZVSentGift>(*json::encode(answer.data()));
  ASSERT_TRUE(sent) << answer.body;
  EXPECT_EQ(sent->sender->totalGold, 970);
  EXPECT_EQ(sent->receiver->totalBean, 70);
  EXPECT_EQ(*sent->rankingList, (std::vector<std::string>{"other", "viewer"}));
  EXPECT_EQ(sent->messageData->rank, 2);
  EXPECT_EQ(sent->messageData->receiverStars, 70);
  EXPECT_EQ(call("statistic", viewer).integer("giftCount"), 70);
  EXPECT_EQ(call("detail", viewer).integer("publisher.totalGold"), 70);
  EXPECT_EQ(call("end", host).integer("totalGold"), 70);
  EXPECT_THAT(send(viewer, rose), HasCode(1059));
  EXPECT_EQ(gold(viewer), 970);
}

TEST_F(GiftTest, DailyFansAreThoseOfTheDayTheMostGenerousFirst) {
  ASSERT_THAT(act({{"action", "give-gold"}, {"userName", "viewer"}, {"gold", 1'000'000}}),
              HasCode(1));
  (void)send(viewer, rocket, 2);
  const auto token = backend.join("viewer").text("accessToken");
  EXPECT_THAT(send(token, rocket).body,
              HasSubstr(R"("giftGoldString":"15,000","giftGold":15000,"order":1)"));
  backend.clock->advance(std::chrono::hours(24));
  EXPECT_THAT(send(backend.join("viewer").text("accessToken"), rose).body,
              HasSubstr(R"("giftGoldString":"1","giftGold":1,"order":1)"));
}

TEST_F(GiftTest, RefusedGiftsChangeNothing) {
  EXPECT_EQ(send(viewer, rocket).message(), "Not enough gold: this costs 5000, and you have 1000");
  EXPECT_THAT(send(viewer, rocket), HasCode(0));
  EXPECT_EQ(send(viewer, 77).message(), "\"giftId\": there is no such gift");
  EXPECT_THAT(send(viewer, rose, 0), HasCode(750));
  EXPECT_THAT(send(host, rose), HasCode(1098)) << "to oneself";
  EXPECT_THAT(send(guest, rose), HasCode(1098));
  EXPECT_THAT(send(viewer, rose, 1, {{"receiverId", 99}}), HasCode(750));
  EXPECT_EQ(gold(viewer), 1000);
  EXPECT_EQ(call("statistic", viewer).integer("giftCount"), 0);
}

TEST_F(GiftTest, CoHostReceivesWhatIsGivenToThem) {
  const auto coHost = backend.join("co").integer("userInfo.userId");
  ASSERT_THAT(
      call("add-co-host", host,
           {{"position", 1}, {"guestId", coHost}, {"userId", owner.integer("userInfo.userId")}}),
      HasCode(1));
  ASSERT_THAT(send(viewer, rose, 7, {{"receiverId", coHost}}), HasCode(1));
  EXPECT_EQ(call("co-hosts-credits", viewer).integer("totalGold"), 7);
  EXPECT_EQ(call("detail", viewer).integer("publisher.totalGold"), 0);
  EXPECT_EQ(call("statistic", viewer).integer("totalGold"), 7);
}

TEST_F(GiftTest, WalletsAddUpWhenManySendAtOnce) {
  std::vector<std::thread> senders;
  for (int i = 0; i < 4; ++i)
    senders.emplace_back([&] {
      // More in all than there is gold for.
      for (int j = 0; j < 30; ++j) (void)send(viewer, 3);
    });
  for (auto& sender : senders) sender.join();
  EXPECT_EQ(gold(viewer), 0);
  EXPECT_EQ(store(host).integer("totalBean"), 1000);
  EXPECT_EQ(call("statistic", viewer).integer("totalGold"), 1000);
}

TEST_F(GiftTest, WalletDoesNotOverflow) {
  const json::Object more{
      {"action", "give-gold"}, {"userName", "viewer"}, {"gold", 1'000'000'000'000'000}};
  Answer last;
  for (int i = 0; i < 20 && last.code() != 0; ++i) last = act(more);
  EXPECT_EQ(last.message(), "The member's wallet cannot hold so much gold");
  EXPECT_THAT(act({{"action", "ban"}, {"userName", "viewer"}, {"gold", 1}}), HasCode(750));
}

TEST(GiftSeedTest, SeedReplacesTheCatalogueAndFillsWallets) {
  const test::TemporaryFolder folder;
  const auto start = [&](const std::string& seed) {
    std::ofstream(folder / "seed.json") << seed;
    return Sandbox::start({.port = 0, .seed = folder / "seed.json"});
  };
  EXPECT_THAT(start(R"({"gifts": [{"giftId": 1, "giftName": "A", "costGold": 2,
                                   "giftAnimationType": 2}]})")
                  .error(),
              HasSubstr("gifts[0]: \"giftFile\": missing"));
  std::ofstream(folder / "seed.json") << R"({"members": [{"zaveloId": "ann", "gold": 5}],
             "gifts": [{"giftId": 8, "giftName": "A<B", "costGold": 2}]})";
  const Backend backend({.seed = folder / "seed.json"});
  const auto store = backend.post("/api/gifts/store", {}, backend.join("ann").text("accessToken"));
  EXPECT_EQ(store.integer("totalGold"), 5);
  EXPECT_THAT(store.body, HasSubstr("/media/gifts/8.svg"));
  EXPECT_THAT(backend.send("GET", "/media/gifts/8.svg").body, HasSubstr("<title>A&lt;B</title>"));
}

}  // namespace
}  // namespace zavelo::sandbox

#include "tests/sandbox/broadcast.hpp"

namespace zavelo::sandbox {
namespace {

class Catalogue : public Broadcast {
 protected:
  [[nodiscard]] Answer send(const std::string& operation,
                            std::vector<std::pair<std::string, std::string>> more,
                            const std::string& token) const {
    for (const auto& [name, value] : std::initializer_list<std::pair<const char*, const char*>>{
             {"price", "10.0"}, {"promotionPrice", "7.5"}, {"url", "https://shop.example/p"}}) {
      more.emplace_back(name, value);
    }
    return backend.upload("/api/products/" + operation, more, {"image", picture}, token);
  }
  std::int64_t add(const std::string& name) const {
    return send("add", {{"name", name}}, host).integer("id");
  }
  [[nodiscard]] Answer post(const std::string& operation, const json::Object& body) const {
    return backend.post("/api/products/" + operation, body, host);
  }
  [[nodiscard]] Answer page(std::int64_t nextId, std::int64_t limit) const {
    return backend.post("/api/users/products", {{"nextId", nextId}, {"limit", limit}}, host);
  }
  [[nodiscard]] Answer move(std::int64_t id, std::int64_t orderIndex,
                            const std::string& of = {}) const {
    return post("edit-order", {{"productId", id}, {"slug", of}, {"orderIndex", orderIndex}});
  }
  /// Names in their order, each with its index.
  [[nodiscard]] std::string order() const {
    std::string all;
    const auto list = page(0, 100).data("result");
    for (const auto& product : *list.as<json::Array>()) {
      const auto& record = *product.as<json::Object>();
      all += *record.find("name")->as<std::string>() +
             std::to_string(*record.find("orderIndex")->as<std::int64_t>()) + " ";
    }
    return all;
  }

  const std::string picture = jpegFile(5, 5);
};

TEST_F(Catalogue, AddedProductIsStoredWithItsPicture) {
  const auto added = send("add", {{"name", "Tea"}, {"description", "green"}}, host);
  ASSERT_THAT(added, HasCode(1));
  EXPECT_EQ(added.data("price"), json::Value(10.0));
  EXPECT_EQ(added.data("promotionPrice"), json::Value(7.5));
  EXPECT_EQ(backend.fetch(added.text("imageUrl")).body, picture);

  const auto edited =
      send("edit", {{"id", std::to_string(added.integer("id"))}, {"name", "Green tea"}}, host);
  EXPECT_EQ(edited.text("name"), "Green tea");
  EXPECT_EQ(order(), "Green tea0 ");
  EXPECT_EQ(call("detail", viewer).data("publisher.isSeller"), json::Value(true));
}

TEST_F(Catalogue, OrderStaysWithoutGapsWhateverMoves) {
  const auto a = add("a");
  const auto b = add("b");
  const auto c = add("c");
  EXPECT_EQ(order(), "a0 b1 c2 ");
  ASSERT_THAT(move(c, 0, slug), HasCode(1));
  EXPECT_EQ(order(), "c0 a1 b2 ");
  ASSERT_THAT(move(c, 1), HasCode(1));
  EXPECT_EQ(order(), "a0 c1 b2 ");
  EXPECT_EQ(move(a, 3).message(), "\"orderIndex\": must be from 0 to 2");
  EXPECT_EQ(move(a, 1, "nothing").message(), "\"slug\": there is no such stream");
  ASSERT_THAT(post("delete", {{"productId", a}}), HasCode(1));
  EXPECT_EQ(order(), "c0 b1 ");
  EXPECT_EQ(post("delete", {{"productId", a}}).message(),
            "\"productId\": there is no such product");
  ASSERT_THAT(move(b, 0), HasCode(1));
  ASSERT_THAT(post("delete-all", {}), HasCode(1));
  EXPECT_EQ(order(), "");
}

TEST_F(Catalogue, PagesLeadToTheEndForSellerAndViewers) {
  for (const char* name : {"a", "b", "c"}) add(name);
  (void)backend.post("/api/users/update-promo-code",
                     {{"promoCode", "TEA"}, {"promoCodeDescription", "10 % off"}}, host);
  const auto first = page(0, 2);
  EXPECT_EQ(first.data("isEnd"), json::Value(false));
  EXPECT_EQ(first.integer("totalRecords"), 3);
  EXPECT_EQ(first.text("promoCode"), "TEA");
  const auto second = page(first.integer("nextId"), 2);
  EXPECT_EQ(second.data("result").as<json::Array>()->size(), 1U);
  EXPECT_EQ(second.data("isEnd"), json::Value(true));
  const auto behind = page(9'000'000'000, 2);
  EXPECT_EQ(behind.data("result"), json::Value(json::Array{}));
  EXPECT_EQ(behind.data("isEnd"), json::Value(true));
  const auto shown = call("products", guest, {{"nextId", 0}, {"limit", 100}});
  EXPECT_EQ(shown.body, page(0, 100).body);
}

TEST_F(Catalogue, MistakesInAFormAreNamedAndStoreNothing) {
  EXPECT_EQ(send("add", {}, host).message(), "\"name\": missing");
  EXPECT_EQ(send("add", {{"name", "x"}, {"price", "ten"}}, host).code(), 750);
  EXPECT_EQ(send("edit", {{"name", "x"}, {"id", "1.5"}}, host).message(),
            "\"id\": expected integer");
  EXPECT_EQ(send("add", {{"name", "x"}, {"colour", "red"}}, host).message(),
            "\"colour\": unknown parameter");
  EXPECT_EQ(order(), "");
}

TEST_F(Catalogue, AnotherSellersProductIsNotTouched) {
  const auto id = add("a");
  EXPECT_THAT(backend.post("/api/products/delete", {{"productId", id}}, viewer), HasCode(1098));
  EXPECT_THAT(send("edit", {{"id", std::to_string(id)}, {"name", "b"}}, viewer), HasCode(1098));
  ASSERT_THAT(backend.post("/api/products/delete-all", {}, viewer), HasCode(1));
  EXPECT_EQ(order(), "a0 ");
}

}  // namespace
}  // namespace zavelo::sandbox

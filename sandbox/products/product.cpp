#include "sandbox/products/product.hpp"

#include "sandbox/media/files.hpp"
#include "sandbox/state/table.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto table = tableOf<Product>(
    "products", key<&Product::id>(), column<&Product::seller>(), column<&Product::orderIndex>(),
    column<&Product::name>(), column<&Product::price>(), column<&Product::promotionPrice>(),
    column<&Product::description>(), column<&Product::url>(), column<&Product::sku>(),
    computed<&Product::pictureName>(
        "(SELECT name FROM media WHERE shelf = 'products' AND owner = products.id)"));

}  // namespace

std::vector<Parameter> productParameters() {
  return {productNameParameter, priceParameter,       promotionPriceParameter,
          productUrlParameter,  descriptionParameter, skuParameter};
}

void assign(Product& product, const Arguments& arguments) {
  product.name = arguments[productNameParameter];
  product.price = arguments[priceParameter];
  product.promotionPrice = arguments[promotionPriceParameter];
  product.url = arguments[productUrlParameter];
  product.description = arguments[descriptionParameter].value_or(product.description);
  product.sku = arguments[skuParameter].value_or(product.sku);
}

std::optional<Product> productById(Transaction& transaction, std::int64_t id) {
  return table.find(transaction, "id = ?", id);
}

std::vector<Product> productsOf(Transaction& transaction, std::int64_t seller, std::int64_t skip,
                                std::int64_t limit) {
  return table.list(transaction, "seller = ? AND order_index >= ? ORDER BY order_index LIMIT ?",
                    seller, skip, limit);
}

std::vector<Product> allProducts(Transaction& transaction) {
  return table.list(transaction, "true ORDER BY seller, order_index");
}

std::int64_t productCountOf(Transaction& transaction, std::int64_t seller) {
  return transaction.value<std::int64_t>("SELECT count(*) FROM products WHERE seller = ?", seller);
}

std::map<std::string, std::int64_t> productNamesOf(Transaction& transaction, std::int64_t seller) {
  std::map<std::string, std::int64_t> counts;
  for (const auto& [name, count] : transaction.rows<std::string, std::int64_t>(
           "SELECT name, count(*) FROM products WHERE seller = ? GROUP BY name", seller)) {
    counts.emplace(name, count);
  }
  return counts;
}

std::int64_t addProduct(Transaction& transaction, Product product) {
  product.orderIndex = transaction.value<std::int64_t>(
      "SELECT coalesce(max(order_index), -1) + 1 FROM products WHERE seller = ?", product.seller);
  return table.insert(transaction, product);
}

void updateProduct(Transaction& transaction, const Product& product) {
  transaction.run(
      "UPDATE products SET name = ?, price = ?, promotion_price = ?, description = ?, url = ?, "
      "sku = ? WHERE id = ?",
      product.name, product.price, product.promotionPrice, product.description, product.url,
      product.sku, product.id);
}

void moveProduct(Transaction& transaction, const Product& product, std::int64_t orderIndex) {
  transaction.run(
      "UPDATE products SET order_index = order_index + iif(?2 < ?3, -1, 1) "
      "WHERE seller = ?1 AND order_index BETWEEN min(?2, ?3) AND max(?2, ?3)",
      product.seller, product.orderIndex, orderIndex);
  transaction.run("UPDATE products SET order_index = ? WHERE id = ?", orderIndex, product.id);
}

void dropProduct(Transaction& transaction, const Product& product) {
  dropFile(transaction, productPictures, product.id);
  transaction.run("DELETE FROM products WHERE id = ?", product.id);
  transaction.run(
      "UPDATE products SET order_index = order_index - 1 WHERE seller = ? AND order_index > ?",
      product.seller, product.orderIndex);
}

}  // namespace zavelo::sandbox

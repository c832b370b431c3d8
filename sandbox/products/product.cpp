#include "sandbox/products/product.hpp"

#include "sandbox/media/files.hpp"

namespace zavelo::sandbox {
namespace {

/// The query of whole products under that condition.
std::string productsWhere(std::string_view condition) {
  return std::string(
             "SELECT p.id, p.seller, p.order_index, p.name, p.price, p.promotion_price, "
             "p.description, p.url, p.sku, f.name FROM products p "
             "LEFT JOIN media f ON f.shelf = 'products' AND f.owner = p.id WHERE ")
      .append(condition);
}

Product productIn(const Row& row) {
  return {.id = row.integer(0),
          .seller = row.integer(1),
          .orderIndex = row.integer(2),
          .name = row.text(3),
          .price = row.real(4),
          .promotionPrice = row.real(5),
          .description = row.text(6),
          .url = row.text(7),
          .sku = row.text(8),
          .pictureName = row.textOrNone(9)};
}

std::vector<Product> productsIn(const std::vector<Row>& rows) {
  std::vector<Product> products;
  for (const auto& row : rows) products.push_back(productIn(row));
  return products;
}

}  // namespace

std::vector<Parameter> productParameters() {
  constexpr double mostExpensive = 1e12;
  return {required(text("name", 1, 300)),
          required(number("price", 0, mostExpensive)),
          required(number("promotionPrice", 0, mostExpensive)),
          required(address("url")),
          text("description", 0, 5000),
          text("sku", 0, 100)};
}

void assign(Product& product, const Arguments& arguments) {
  product.name = *arguments.text("name");
  product.price = *arguments.number("price");
  product.promotionPrice = *arguments.number("promotionPrice");
  product.url = *arguments.text("url");
  product.description = arguments.text("description").value_or(product.description);
  product.sku = arguments.text("sku").value_or(product.sku);
}

std::optional<Product> productById(Transaction& transaction, std::int64_t id) {
  static const std::string query = productsWhere("p.id = ?");
  const auto row = transaction.first(query, id);
  return row ? std::optional(productIn(*row)) : std::nullopt;
}

std::vector<Product> productsOf(Transaction& transaction, std::int64_t seller, std::int64_t skip,
                                std::int64_t limit) {
  static const std::string query =
      productsWhere("p.seller = ? AND p.order_index >= ? ORDER BY p.order_index LIMIT ?");
  return productsIn(transaction.all(query, seller, skip, limit));
}

std::vector<Product> allProducts(Transaction& transaction) {
  return productsIn(transaction.all(productsWhere("true ORDER BY p.seller, p.order_index")));
}

std::int64_t productCountOf(Transaction& transaction, std::int64_t seller) {
  return transaction.first("SELECT count(*) FROM products WHERE seller = ?", seller)->integer(0);
}

std::map<std::string, std::int64_t> productNamesOf(Transaction& transaction, std::int64_t seller) {
  std::map<std::string, std::int64_t> counts;
  for (const auto& row : transaction.all(
           "SELECT name, count(*) FROM products WHERE seller = ? GROUP BY name", seller)) {
    counts.emplace(row.text(0), row.integer(1));
  }
  return counts;
}

std::int64_t addProduct(Transaction& transaction, const Product& product) {
  transaction.run(
      "INSERT INTO products (seller, order_index, name, price, promotion_price, description, url, "
      "sku) VALUES (?1, (SELECT coalesce(max(order_index), -1) + 1 FROM products WHERE seller = "
      "?1), "
      "?2, ?3, ?4, ?5, ?6, ?7)",
      product.seller, product.name, product.price, product.promotionPrice, product.description,
      product.url, product.sku);
  return transaction.lastId();
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

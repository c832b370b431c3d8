#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// A product as the database has it.
struct Product {
  std::int64_t id = 0;
  std::int64_t seller = 0;
  std::int64_t orderIndex = 0;  ///< a seller's products count from 0, without gaps
  std::string name;
  double price = 0;
  double promotionPrice = 0;
  std::string description;
  std::string url;
  std::string sku;
  std::optional<std::string> pictureName;  ///< of the file on its shelf
};

inline constexpr double mostExpensive = 1e12;
inline constexpr auto productNameParameter = required(text("name", 1, 300));
inline constexpr auto priceParameter = required(number("price", 0, mostExpensive));
inline constexpr auto promotionPriceParameter =
    required(number("promotionPrice", 0, mostExpensive));
inline constexpr auto productUrlParameter = required(address("url"));
inline constexpr auto descriptionParameter = text("description", 0, 5000);
inline constexpr auto skuParameter = text("sku", 0, 100);

/// What a product is made of, but for its picture.
[[nodiscard]] std::vector<Parameter> productParameters();
/// Takes over what the arguments give; what they leave out stays.
void assign(Product& product, const Arguments& arguments);

[[nodiscard]] std::optional<Product> productById(Transaction& transaction, std::int64_t id);
/// Up to `limit` of the seller's products in their order, without the first `skip`.
[[nodiscard]] std::vector<Product> productsOf(Transaction& transaction, std::int64_t seller,
                                              std::int64_t skip, std::int64_t limit);
[[nodiscard]] std::int64_t productCountOf(Transaction& transaction, std::int64_t seller);
/// The names of the seller's products, and how many products have each.
[[nodiscard]] std::map<std::string, std::int64_t> productNamesOf(Transaction& transaction,
                                                                 std::int64_t seller);
/// Of all sellers, each one's in their order.
[[nodiscard]] std::vector<Product> allProducts(Transaction& transaction);

/// Adds it after the seller's last one and returns its id; the record's own id and index are
/// ignored.
std::int64_t addProduct(Transaction& transaction, Product product);
/// Writes all but the index.
void updateProduct(Transaction& transaction, const Product& product);
/// The products between its old and its new place move up or down by one.
void moveProduct(Transaction& transaction, const Product& product, std::int64_t orderIndex);
/// Deletes it with its picture; the ones after it move up.
void dropProduct(Transaction& transaction, const Product& product);

}  // namespace zavelo::sandbox

#include "tools/zavelo/operations/catalogue.hpp"
#include "zavelo/services/product_service.hpp"

namespace zavelo::command {

Group productGroup() {
  using S = ZVProductService;
  return {"product",
          "The products that the signed-in member sells",
          {
              operation<&S::getProducts>("List one's products, page by page", "nextId", "limit"),
              operation<&S::editProductOrder>("Move a product within the order", "productId",
                                              "slug", "orderIndex"),
              operation<&S::addProduct>("Add a product with its picture", "name", "price",
                                        "promotionPrice", "description", "image", "url", "sku"),
              operation<&S::editProduct>("Change a product and its picture", "id", "name", "price",
                                         "promotionPrice", "description", "image", "url", "sku"),
              operation<&S::deleteAllProduct>("Delete all of one's products"),
              operation<&S::deleteProduct>("Delete a product", "productId"),
          }};
}

}  // namespace zavelo::command

#include "zavelo/services/product_service.hpp"

#include "zavelo/services/service_call_internal.hpp"

namespace zavelo {
namespace {

/// The fields of a form that describes a product.
json::Object formOf(const std::string& name, double price, double promotionPrice,
                    const std::optional<std::string>& description, const std::string& url,
                    const std::optional<std::string>& sku) {
  json::Object form{
      {"name", name}, {"price", price}, {"promotionPrice", promotionPrice}, {"url", url}};
  if (description) form.set("description", *description);
  if (sku) form.set("sku", *sku);
  return form;
}

ZVCall uploadProduct(ZVAPIService& service, ZVAPI endpoint, json::Object form,
                     std::vector<std::byte> image,
                     ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  std::vector<ZVMultiPartData> files;
  files.push_back({std::move(image), "image", "image/jpeg", "image.jpeg"});
  return detail::upload(service, endpoint, std::move(form), std::move(files),
                        std::move(completion));
}

}  // namespace

ZVCall ZVProductService::getProducts(
    std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion) {
  return detail::call(*service_, ZVAPI::getProducts,
                      json::Object{{"nextId", nextId}, {"limit", limit}}, std::move(completion));
}

ZVCall ZVProductService::editProductOrder(std::int64_t productId, const std::string& slug,
                                          std::int64_t orderIndex, ZVCompletion<bool> completion) {
  return detail::call(
      *service_, ZVAPI::editProductOrder,
      json::Object{{"productId", productId}, {"slug", slug}, {"orderIndex", orderIndex}},
      std::move(completion));
}

ZVCall ZVProductService::addProduct(const std::string& name, double price, double promotionPrice,
                                    const std::optional<std::string>& description,
                                    std::vector<std::byte> image, const std::string& url,
                                    const std::optional<std::string>& sku,
                                    ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  return uploadProduct(*service_, ZVAPI::addProduct,
                       formOf(name, price, promotionPrice, description, url, sku), std::move(image),
                       std::move(completion));
}

ZVCall ZVProductService::editProduct(std::int64_t id, const std::string& name, double price,
                                     double promotionPrice,
                                     const std::optional<std::string>& description,
                                     std::vector<std::byte> image, const std::string& url,
                                     const std::optional<std::string>& sku,
                                     ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  auto form = formOf(name, price, promotionPrice, description, url, sku);
  form.set("id", id);
  return uploadProduct(*service_, ZVAPI::editProduct, std::move(form), std::move(image),
                       std::move(completion));
}

ZVCall ZVProductService::deleteAllProduct(ZVCompletion<bool> completion) {
  return detail::call(*service_, ZVAPI::deleteAllProduct, json::Object{}, std::move(completion));
}

ZVCall ZVProductService::deleteProduct(std::int64_t productId, ZVCompletion<bool> completion) {
  return detail::call(*service_, ZVAPI::deleteProduct, json::Object{{"productId", productId}},
                      std::move(completion));
}

}  // namespace zavelo

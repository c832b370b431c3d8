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

ZVAPICall<std::shared_ptr<ZVStreamProduct>> uploadProduct(
    ZVAPIService& service, ZVAPI endpoint, json::Object form, std::vector<std::byte> image,
    ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  std::vector<ZVMultiPartData> files;
  files.push_back({std::move(image), "image", "image/jpeg", "image.jpeg"});
  return detail::upload(service, endpoint, std::move(form), std::move(files),
                        std::move(completion));
}

}  // namespace

std::shared_ptr<ZVProductService> ZVProductService::create(Collaborators collaborators) {
  return std::shared_ptr<ZVProductService>(new ZVProductService(std::move(collaborators)));
}

ZVAPICall<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> ZVProductService::getProducts(
    std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion) {
  return detail::call(*deps_.service, ZVAPI::getProducts,
                      json::Object{{"nextId", nextId}, {"limit", limit}}, std::move(completion));
}

ZVAPICall<bool> ZVProductService::editProductOrder(std::int64_t productId, const std::string& slug,
                                                   std::int64_t orderIndex,
                                                   ZVCompletion<bool> completion) {
  return detail::call(
      *deps_.service, ZVAPI::editProductOrder,
      json::Object{{"productId", productId}, {"slug", slug}, {"orderIndex", orderIndex}},
      std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVStreamProduct>> ZVProductService::addProduct(
    const std::string& name, double price, double promotionPrice,
    const std::optional<std::string>& description, std::vector<std::byte> image,
    const std::string& url, const std::optional<std::string>& sku,
    ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  return uploadProduct(*deps_.service, ZVAPI::addProduct,
                       formOf(name, price, promotionPrice, description, url, sku), std::move(image),
                       std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVStreamProduct>> ZVProductService::editProduct(
    std::int64_t id, const std::string& name, double price, double promotionPrice,
    const std::optional<std::string>& description, std::vector<std::byte> image,
    const std::string& url, const std::optional<std::string>& sku,
    ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion) {
  auto form = formOf(name, price, promotionPrice, description, url, sku);
  form.set("id", id);
  return uploadProduct(*deps_.service, ZVAPI::editProduct, std::move(form), std::move(image),
                       std::move(completion));
}

ZVAPICall<bool> ZVProductService::deleteAllProduct(ZVCompletion<bool> completion) {
  return detail::call(*deps_.service, ZVAPI::deleteAllProduct, json::Object{},
                      std::move(completion));
}

ZVAPICall<bool> ZVProductService::deleteProduct(std::int64_t productId,
                                                ZVCompletion<bool> completion) {
  return detail::call(*deps_.service, ZVAPI::deleteProduct, json::Object{{"productId", productId}},
                      std::move(completion));
}

}  // namespace zavelo

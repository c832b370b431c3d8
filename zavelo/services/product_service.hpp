#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/api/api_service.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream_product.hpp"

namespace zavelo {

/// The catalogue of whoever sells in streams: the signed-in member's products. Nothing is checked
/// or remembered here. Pictures are JPEG and travel as they are.
///
/// Any thread. Completions arrive on the main queue, exactly once.
class ZAVELO_EXPORT ZVProductService {
 public:
  struct Collaborators {
    std::shared_ptr<ZVAPIService> service = {};
  };

  [[nodiscard]] static std::shared_ptr<ZVProductService> create(Collaborators collaborators);
  [[nodiscard]] static const std::shared_ptr<ZVProductService>& shared();

  ZVAPICall<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> getProducts(
      std::int64_t nextId, std::int64_t limit,
      ZVCompletion<std::shared_ptr<ZVPaginationResult<ZVStreamProduct>>> completion);
  ZVAPICall<bool> editProductOrder(std::int64_t productId, const std::string& slug,
                                   std::int64_t orderIndex, ZVCompletion<bool> completion);
  /// Answers the product as it is stored. What is absent is left out.
  ZVAPICall<std::shared_ptr<ZVStreamProduct>> addProduct(
      const std::string& name, double price, double promotionPrice,
      const std::optional<std::string>& description, std::vector<std::byte> image,
      const std::string& url, const std::optional<std::string>& sku,
      ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion);
  ZVAPICall<std::shared_ptr<ZVStreamProduct>> editProduct(
      std::int64_t id, const std::string& name, double price, double promotionPrice,
      const std::optional<std::string>& description, std::vector<std::byte> image,
      const std::string& url, const std::optional<std::string>& sku,
      ZVCompletion<std::shared_ptr<ZVStreamProduct>> completion);
  ZVAPICall<bool> deleteAllProduct(ZVCompletion<bool> completion);
  ZVAPICall<bool> deleteProduct(std::int64_t productId, ZVCompletion<bool> completion);

 private:
  explicit ZVProductService(Collaborators collaborators) : deps_(std::move(collaborators)) {}

  const Collaborators deps_;
};

}  // namespace zavelo

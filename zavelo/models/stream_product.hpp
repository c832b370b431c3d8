#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/fixed.hpp"

namespace zavelo {

/// A product of a seller's catalogue, as it is shown in a stream.
struct ZVStreamProduct {
  json::Fixed<std::int64_t> id{};
  json::Fixed<std::string> name{};
  json::Fixed<double> price{};
  json::Fixed<std::string> promoCode{};
  json::Fixed<double> promotionPrice{};
  json::Fixed<std::string> imageUrl{};
  json::Fixed<std::string> url{};  ///< the product's page
  std::optional<std::int64_t> label{};
  json::Fixed<std::string> state{};
  std::optional<std::int64_t> orderIndex{};  ///< position in the seller's order
};

template <>
struct json::RecordOf<ZVStreamProduct> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo

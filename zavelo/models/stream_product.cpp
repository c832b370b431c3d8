#include "zavelo/models/stream_product.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo::json {

const Record& RecordOf<ZVStreamProduct>::get() {
  using T = ZVStreamProduct;
  static const Record record =
      fieldsOf<T, &T::id, &T::name, &T::price, &T::promoCode, &T::promotionPrice, &T::imageUrl,
               &T::url, &T::label, &T::state, &T::orderIndex>();
  return record;
}

}  // namespace zavelo::json

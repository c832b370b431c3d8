#include "zavelo/models/event.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo::json {

const Record& RecordOf<ZVEvent>::get() {
  using T = ZVEvent;
  static const Record record = fieldsOf<T, &T::id, &T::title, &T::beginDate, &T::endDate,
                                        &T::isPaid, &T::sypnosis, &T::detail, &T::status>();
  return record;
}

}  // namespace zavelo::json

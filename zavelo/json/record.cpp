#include "zavelo/json/record.hpp"

#include <utility>

namespace zavelo::json {

Record::Record(std::vector<Field> fields, AbsentFields absent)
    : fields_(std::move(fields)), absent_(absent) {}

const Field* Record::find(std::string_view key, std::size_t expected) const noexcept {
  if (expected < fields_.size() && fields_[expected].name == key) return &fields_[expected];
  for (const Field& field : fields_)
    if (field.name == key) return &field;
  return nullptr;
}

}  // namespace zavelo::json

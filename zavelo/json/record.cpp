#include "zavelo/json/record.hpp"

#include <cassert>
#include <utility>

namespace zavelo::json {

Record::Record(std::vector<Field> fields, AbsentFields absent)
    : fields_(std::move(fields)), absent_(absent) {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    std::string& key = fields_[i].writtenKey;
    key.assign(",\"").append(fields_[i].name).append("\":").append(8, '\0');
    if (fields_[i].codec->target != nullptr) continue;
    assert(i < 64 && "required fields stand among the first");
    required_ |= std::uint64_t{1} << i;
  }
}

const Field* Record::find(std::string_view key, std::size_t expected) const noexcept {
  if (expected < fields_.size() && fields_[expected].name == key) return &fields_[expected];
  for (const Field& field : fields_)
    if (field.name == key) return &field;
  return nullptr;
}

Record Record::shiftedBy(std::size_t bytes) const {
  Record shifted = *this;
  for (Field& field : shifted.fields_) field.offset += bytes;
  return shifted;
}

Record Record::followedBy(const Record& other) const {
  std::vector<Field> all = fields_;
  all.insert(all.end(), other.fields_.begin(), other.fields_.end());
  return {std::move(all), absent_};
}

}  // namespace zavelo::json

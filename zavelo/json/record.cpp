#include "zavelo/json/record.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <utility>

#include "zavelo/json/blocks_internal.hpp"

namespace zavelo::json {

namespace {

Holder holderOf(const Codec& codec) {
  if (codec.kind == Codec::Kind::reference) return Holder::reference;
  if (codec.kind != Codec::Kind::optional) return Holder::always;
  switch (codec.inner->kind) {
    case Codec::Kind::integer:
      return Holder::integer;
    case Codec::Kind::flag:
      return Holder::flag;
    case Codec::Kind::text:
      return Holder::text;
    default:
      return Holder::other;
  }
}

/// A key's first and last eight characters and its size tell nearly all keys of a record apart.
std::uint64_t hashOf(const char* quotedKey, std::size_t size) noexcept {
  const char* key = quotedKey + 1;
  std::uint64_t mixed = detail::blockAt(quotedKey);  // with the quote, and so readable for 8 bytes
  if (size < 7)
    mixed <<= 8 * (7 - size);
  else
    mixed += detail::blockAt(key + size - 7) * 3;  // with the quote after it
  return (mixed + size) * 0x9E3779B97F4A7C15u;
}

}  // namespace

Record::Record(std::vector<Field> fields, AbsentFields absent)
    : fields_(std::move(fields)), absent_(absent) {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    std::string& key = fields_[i].writtenKey;
    key.assign(",\"").append(fields_[i].name).append("\":").append(8, '\0');
    fields_[i].holder = holderOf(*fields_[i].codec);
    if (fields_[i].codec->target != nullptr) continue;
    assert(i < 64 && "required fields stand among the first");
    required_ |= std::uint64_t{1} << i;
  }
  fillIndex();
}

void Record::fillIndex() {
  places_.resize(std::bit_ceil(fields_.size() * 4 + 2));
  const std::size_t last = places_.size() - 1;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    std::size_t place = hashOf(fields_[i].quotedName(), fields_[i].name.size()) >> 32 & last;
    while (places_[place] != 0) place = (place + 1) & last;
    places_[place] = static_cast<std::uint16_t>(i + 1);
  }
}

std::size_t Record::indexOf(const char* quotedKey, std::size_t keySize) const noexcept {
  const std::size_t last = places_.size() - 1;
  for (std::size_t place = hashOf(quotedKey, keySize) >> 32 & last; places_[place] != 0;
       place = (place + 1) & last) {
    const std::size_t index = places_[place] - 1u;
    const Field& field = fields_[index];
    if (field.name.size() == keySize &&
        detail::beginsWith(quotedKey, field.quotedName(), keySize + 2))
      return index;
  }
  return unknown;
}

const Field* Record::find(std::string_view key) const noexcept {
  const auto found = std::ranges::find(fields_, key, &Field::name);
  return found == fields_.end() ? nullptr : &*found;
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

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zavelo/base/entity_name.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo::json {

/// One field of a record. Its key is the member's own name.
struct Field {
  std::string_view name;
  std::size_t offset;  ///< of the member in the record, in bytes
  const Codec* codec;
  std::string quotedKey;  ///< "name": as it is written, and 8 more bytes that may be read

  [[nodiscard]] std::size_t quotedKeySize() const noexcept { return name.size() + 3; }
};

/// What becomes of a field without a value when its record is written. (A member that cannot be
/// absent is always written, and must be there when it is read.)
enum class AbsentFields { omitted, null };

/// The fields of one record type, in declaration order.
class ZAVELO_EXPORT Record {
 public:
  Record(std::vector<Field> fields, AbsentFields absent);
  [[nodiscard]] std::span<const Field> fields() const noexcept { return fields_; }
  [[nodiscard]] AbsentFields absentFields() const noexcept { return absent_; }
  /// A bit for each field that cannot be absent, by its index.
  [[nodiscard]] std::uint64_t requiredFields() const noexcept { return required_; }
  /// Null when the record has no such field. `expected` is where a sender that keeps the declared
  /// order has it.
  [[nodiscard]] const Field* find(std::string_view key, std::size_t expected) const noexcept;
  /// The same fields, of a type that has this record at that offset.
  [[nodiscard]] Record shiftedBy(std::size_t bytes) const;

 private:
  std::vector<Field> fields_;
  AbsentFields absent_;
  std::uint64_t required_ = 0;
};

namespace detail {

template <class T>
struct MemberOf;
template <class T, class M>
struct MemberOf<M T::*> {
  using Type = M;
};

template <auto Member>
using TypeOf = typename MemberOf<decltype(Member)>::Type;

/// Whether the aggregate T has these members, in this order, and no further one.
template <class T, auto... Members>
inline constexpr bool areAllMembers = requires {
  T{std::declval<TypeOf<Members>>()...};
}
&&!requires {
  T{std::declval<TypeOf<Members>>()..., {}};
};

template <class T, auto Member>
Field fieldOf() {
  using M = TypeOf<Member>;
  static_assert(sizeof(Member) == sizeof(std::ptrdiff_t), "a data member pointer is an offset");
  return {zavelo::detail::entityName<Member>(),
          static_cast<std::size_t>(std::bit_cast<std::ptrdiff_t>(Member)),
          &codecOf<M>,
          {}};
}

}  // namespace detail

/// The record that lists T's members, all of them, in declaration order:
///
///     const Record& RecordOf<ZVRefreshToken>::get() {
///       using T = ZVRefreshToken;
///       static const Record record =
///           fieldsOf<T, &T::accessToken, &T::refreshToken, &T::expires>();
///       return record;
///     }
///
/// A member that the list leaves out does not compile.
template <class T, auto... Members>
Record fieldsOf(AbsentFields absent = AbsentFields::omitted) {
  static_assert(detail::areAllMembers<T, Members...>,
                "the field list must name every member of the record, in declaration order");
  return Record({detail::fieldOf<T, Members>()...}, absent);
}

}  // namespace zavelo::json

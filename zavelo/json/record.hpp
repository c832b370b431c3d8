#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "zavelo/base/entity_name.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo::json {

/// How a member holds its value, for the readers and writers: the common ways have a case each.
enum class Holder : std::uint8_t { integer, flag, text, other, reference, always };

/// One field of a record. Its key is the member's own name.
struct Field {
  std::string_view name;
  std::size_t offset;  ///< of the member in the record, in bytes
  const Codec* codec;
  std::string writtenKey;  ///< ,"name": and 8 more bytes that may be read
  Holder holder = Holder::always;

  [[nodiscard]] std::size_t writtenKeySize() const noexcept { return name.size() + 4; }
  /// "name" in its quotes, and what is behind it in `writtenKey`.
  [[nodiscard]] const char* quotedName() const noexcept { return writtenKey.data() + 1; }
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
  /// The index of the field with this key, or `unknown`. The key begins at its opening quote, and
  /// is readable for 8 bytes after that.
  [[nodiscard]] std::size_t indexOf(const char* quotedKey, std::size_t keySize) const noexcept;
  static constexpr std::size_t unknown = static_cast<std::size_t>(-1);
  /// The field with this key; null if there is none. Goes through all of them.
  [[nodiscard]] const Field* find(std::string_view key) const noexcept;
  /// The same fields, of a type that has this record at that offset.
  [[nodiscard]] Record shiftedBy(std::size_t bytes) const;
  /// These fields, then those of the other, absent ones written as these are.
  [[nodiscard]] Record followedBy(const Record& other) const;

 private:
  void fillIndex();

  std::vector<Field> fields_;
  /// A hash table with a quarter of its places in use at most: one more than a field's index, or 0.
  std::vector<std::uint16_t> places_;
  AbsentFields absent_;
  std::uint64_t required_ = 0;
};

namespace detail {

template <class T>
struct MemberOf;
template <class T, class M>
struct MemberOf<M T::*> {
  using Type = M;
  using Owner = T;
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

/// The struct that declares the members: T itself, or one that the class T derives from.
template <auto First, auto...>
struct OwnerOf : MemberOf<decltype(First)> {};

template <class T, auto Member>
Field fieldOf() {
  using M = TypeOf<Member>;
  constexpr M T::*inT = Member;
  static_assert(sizeof(inT) == sizeof(std::ptrdiff_t), "a data member pointer is an offset");
  return {zavelo::detail::entityName<Member>(),
          static_cast<std::size_t>(std::bit_cast<std::ptrdiff_t>(inT)),
          &codecOf<M>,
          {},
          Holder::always};
}

template <class T, class Base>
std::size_t offsetOfBase() {
  const T object;
  const Base& base = object;
  return static_cast<std::size_t>(reinterpret_cast<const std::byte*>(&base) -
                                  reinterpret_cast<const std::byte*>(&object));
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
/// A member that the list leaves out does not compile. A class that is more than data keeps its
/// fields in a struct that it derives from, and that struct is checked.
template <class T, auto... Members>
Record fieldsOf(AbsentFields absent = AbsentFields::omitted) {
  static_assert(detail::areAllMembers<typename detail::OwnerOf<Members...>::Owner, Members...>,
                "the field list must name every member of the record, in declaration order");
  return Record({detail::fieldOf<T, Members>()...}, absent);
}

/// The record of a class T that derives from the record Base and lists the fields that it adds, in
/// the same way. They come first when it is written, and absent ones are written as Base's are.
///
///     const Record& RecordOf<ZVPollMessage>::get() {
///       using T = ZVPollMessage;
///       static const Record record = subclassFieldsOf<T, ZVStreamMessage, &T::pollData>();
///       return record;
///     }
template <class T, class Base, auto... Members>
Record subclassFieldsOf() {
  static_assert(std::is_base_of_v<Base, T> && SelfDescribing<Base>);
  static_assert(std::is_same_v<decltype(&T::asRecord), RecordView (T::*)() const>,
                "a subclass with fields of its own overrides asRecord()");
  const Record& base = RecordOf<Base>::get();
  return fieldsOf<T, Members...>(base.absentFields())
      .followedBy(base.shiftedBy(detail::offsetOfBase<T, Base>()));
}

}  // namespace zavelo::json

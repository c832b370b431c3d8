#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/json/value.hpp"

namespace zavelo::json {

class Record;

/// The field list of T. A record specialises it in its header and defines `get` in its source:
///
///     template <>
///     struct json::RecordOf<ZVUser> {
///       static const Record& get();
///     };
template <class T>
struct RecordOf;

template <class T>
concept RecordType = requires {
  { RecordOf<std::remove_const_t<T>>::get() } -> std::same_as<const Record&>;
};

/// An object and the fields of its own class.
struct RecordView {
  const Record* record;
  const void* object;
};

/// `object` as a T. A class whose subclasses have fields of their own answers it from a virtual
/// operation, which each of them overrides in its source: then an object is written whole wherever
/// its base is expected.
///
///     json::RecordView ZVGiftMessage::asRecord() const { return json::viewOf(*this); }
template <RecordType T>
[[nodiscard]] RecordView viewOf(const T& object) {
  return {&RecordOf<T>::get(), &object};
}

template <class T>
concept SelfDescribing = requires(const T& object) {
  { object.asRecord() } -> std::same_as<RecordView>;
};

/// How values of one C++ type are read and written, with the type erased: two loops in the sources
/// serve every record, and no header needs to know the parser.
struct Codec {
  enum class Kind : std::uint8_t {
    flag,       ///< bool
    integer,    ///< std::int64_t; also written 1.0 or 1e3, never with a fraction
    number,     ///< double
    text,       ///< std::string
    code,       ///< a coded enumeration, by its raw value
    value,      ///< json::Value: anything
    list,       ///< std::vector
    record,     ///< a struct with a field list
    reference,  ///< std::shared_ptr to a record; null is absent in a member, and nowhere else
    optional,   ///< std::optional; null is absent
  };

  Kind kind;
  const Codec* inner = nullptr;  ///< of the list's elements, or of what is referred to
  /// list: appends an element and returns it. reference, optional: fills it and returns the target.
  void* (*make)(void* holder) = nullptr;
  void (*clear)(void* holder) = nullptr;
  /// reference, optional: the target or null.
  const void* (*target)(const void* holder) = nullptr;
  /// list: the first element, how many there are, and their distance in bytes.
  const void* (*first)(const void* list) = nullptr;
  std::size_t (*count)(const void* list) = nullptr;
  std::size_t stride = 0;
  const Record& (*record)() = nullptr;
  /// record: what an object is written as, where its class may differ from the one that is read.
  RecordView (*view)(const void* object) = nullptr;
  bool (*assignCode)(void* code, std::int64_t raw) = nullptr;
  std::int64_t (*readCode)(const void* code) = nullptr;
};

namespace detail {

template <class T>
struct CodecOf;

}  // namespace detail

template <class T>
inline constexpr const Codec& codecOf = detail::CodecOf<std::remove_const_t<T>>::codec;

namespace detail {

template <Codec::Kind K>
struct PlainCodec {
  static constexpr Codec codec{.kind = K};
};
template <>
struct CodecOf<bool> : PlainCodec<Codec::Kind::flag> {};
template <>
struct CodecOf<std::int64_t> : PlainCodec<Codec::Kind::integer> {};
template <>
struct CodecOf<double> : PlainCodec<Codec::Kind::number> {};
template <>
struct CodecOf<std::string> : PlainCodec<Codec::Kind::text> {};
template <>
struct CodecOf<Value> : PlainCodec<Codec::Kind::value> {};

template <CodedEnum E>
struct CodecOf<E> {
  static bool assign(void* code, std::int64_t raw) {
    const auto known = fromRawValue<E>(raw);
    if (known) *static_cast<E*>(code) = *known;
    return known.has_value();
  }
  static std::int64_t read(const void* code) { return rawValue(*static_cast<const E*>(code)); }
  static constexpr Codec codec{.kind = Codec::Kind::code, .assignCode = &assign, .readCode = &read};
};

template <RecordType T>
struct CodecOf<T> {
  static constexpr Codec codec{.kind = Codec::Kind::record, .record = &RecordOf<T>::get};
};

template <RecordType T>
requires SelfDescribing<T>
struct CodecOf<T> {
  static RecordView view(const void* object) { return static_cast<const T*>(object)->asRecord(); }
  static constexpr Codec codec{
      .kind = Codec::Kind::record, .record = &RecordOf<T>::get, .view = &view};
};

template <>
struct CodecOf<RecordView> {
  static RecordView view(const void* seen) { return *static_cast<const RecordView*>(seen); }
  static constexpr Codec codec{.kind = Codec::Kind::record, .view = &view};
};

template <class T>
struct CodecOf<std::vector<T>> {
  using List = std::vector<T>;
  static_assert(!std::is_same_v<T, bool>, "a list of flags has no elements to point at");
  static void* append(void* list) { return &static_cast<List*>(list)->emplace_back(); }
  static void clear(void* list) { static_cast<List*>(list)->clear(); }
  static const void* first(const void* list) { return static_cast<const List*>(list)->data(); }
  static std::size_t count(const void* list) { return static_cast<const List*>(list)->size(); }
  static constexpr Codec codec{.kind = Codec::Kind::list,
                               .inner = &codecOf<T>,
                               .make = &append,
                               .clear = &clear,
                               .first = &first,
                               .count = &count,
                               .stride = sizeof(T)};
};

template <class T>
struct CodecOf<std::shared_ptr<T>> {
  using Pointer = std::shared_ptr<T>;
  using Target = std::remove_const_t<T>;
  static void* make(void* holder) {
    auto target = std::make_shared<Target>();
    Target* address = target.get();
    *static_cast<Pointer*>(holder) = std::move(target);
    return address;
  }
  static void clear(void* holder) { static_cast<Pointer*>(holder)->reset(); }
  static const void* target(const void* holder) {
    return static_cast<const Pointer*>(holder)->get();
  }
  static constexpr Codec codec{.kind = Codec::Kind::reference,
                               .inner = &codecOf<T>,
                               .make = &make,
                               .clear = &clear,
                               .target = &target};
};

template <class T>
struct CodecOf<std::optional<T>> {
  using Optional = std::optional<T>;
  static void* make(void* holder) { return &static_cast<Optional*>(holder)->emplace(); }
  static void clear(void* holder) { static_cast<Optional*>(holder)->reset(); }
  static const void* target(const void* holder) {
    const auto& optional = *static_cast<const Optional*>(holder);
    return optional ? &*optional : nullptr;
  }
  static constexpr Codec codec{.kind = Codec::Kind::optional,
                               .inner = &codecOf<T>,
                               .make = &make,
                               .clear = &clear,
                               .target = &target};
};

}  // namespace detail
}  // namespace zavelo::json

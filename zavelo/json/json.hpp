#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zavelo/base/result.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/error.hpp"

namespace zavelo::json {

/// A text to read. A std::string with `paddingBytes` of spare capacity is read in place; any other
/// is copied first.
struct Input {
  const char* data;
  std::size_t size;
  std::size_t capacity;

  Input(const std::string& text) noexcept
      : data(text.data()), size(text.size()), capacity(text.capacity()) {}
  Input(std::string_view text) noexcept
      : data(text.data()), size(text.size()), capacity(text.size()) {}
  Input(const char* text) noexcept : Input(std::string_view(text)) {}
};

/// Spare capacity that lets a text be read in place.
inline constexpr std::size_t paddingBytes = 64;

/// Deeper nesting is refused.
inline constexpr std::size_t depthLimit = 256;

namespace detail {
[[nodiscard]] ZAVELO_EXPORT std::optional<Error> decodeInto(Input text, const Codec& codec,
                                                            void* out);
[[nodiscard]] ZAVELO_EXPORT Result<std::string, Error> encodeFrom(const Codec& codec,
                                                                  const void* value);
}  // namespace detail

/// Reads one JSON text (RFC 8259, UTF-8, a byte order mark is ignored) as a T: a record, a
/// `std::shared_ptr` to one, a list, a scalar or a `Value`. Every field of a record is optional and
/// null is absent; unknown keys are skipped but must be well-formed JSON; of a key that is given
/// twice the last one counts. A value of the wrong type, or a number beyond the range of its type,
/// fails the whole. Half a surrogate pair in a text ("\ud83d") becomes U+FFFD.
template <class T>
[[nodiscard]] Result<T, Error> decode(Input text) {
  T value{};
  if (auto error = detail::decodeInto(text, codecOf<T>, &value)) return Failure{std::move(*error)};
  return value;
}

/// Writes a value as compact JSON. Fails on what JSON cannot say: a number that is not finite, a
/// text that is not UTF-8.
template <class T>
[[nodiscard]] Result<std::string, Error> encode(const T& value) {
  return detail::encodeFrom(codecOf<T>, &value);
}

/// The value as indented JSON, for a person to read; empty when it cannot be written.
[[nodiscard]] ZAVELO_EXPORT std::string prettyText(const Value& value);

}  // namespace zavelo::json

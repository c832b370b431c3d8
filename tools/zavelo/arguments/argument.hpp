#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/value.hpp"
#include "zavelo/platform/image.hpp"

namespace zavelo::command {

/// What an argument of an operation takes.
enum class ArgumentKind {
  text,
  integer,
  number,
  flag,
  json,    ///< a record, or any other JSON value
  texts,   ///< a list of texts
  choice,  ///< of the cases of a coded enumeration, by name or code
  bytes,   ///< in JSON and in the terminal the path of a file
  image,   ///< in JSON and in the terminal the path of a JPEG file
};

/// How arguments of one C++ type come out of JSON.
struct ArgumentType {
  ArgumentKind kind;
  bool isOptional;
  /// Fills `out`, which points at a value of the type; or says what is wrong with the JSON.
  std::function<std::optional<std::string>(const json::Value& value, void* out)> read;
  std::vector<std::string_view> choices = {};
};

[[nodiscard]] ArgumentType argumentTypeOf(const json::Codec& codec);

/// Finds the case that a JSON value names, or says which there are.
[[nodiscard]] Result<std::size_t, std::string> chosenCase(const json::Value& value,
                                                          std::span<const std::string_view> names,
                                                          std::span<const std::int64_t> codes);

template <class T>
[[nodiscard]] ArgumentType argumentType() {
  return argumentTypeOf(json::codecOf<T>);
}
template <CodedEnum E>
[[nodiscard]] ArgumentType argumentType() {
  std::vector<std::string_view> names;
  std::vector<std::int64_t> codes;
  for (const auto& known : codedCases<E>) {
    names.push_back(known.name);
    codes.push_back(rawValue(known.value));
  }
  const auto read = [names, codes](const json::Value& value,
                                   void* out) -> std::optional<std::string> {
    const auto index = chosenCase(value, names, codes);
    if (!index) return index.error();
    *static_cast<E*>(out) = codedCases<E>[*index].value;
    return {};
  };
  return {ArgumentKind::choice, false, read, names};
}
template <>
[[nodiscard]] ArgumentType argumentType<std::vector<std::byte>>();
template <>
[[nodiscard]] ArgumentType argumentType<std::optional<ZVImage>>();

struct Argument {
  std::string_view name;  ///< as the library names it: "displayName"
  ArgumentType type;
};

/// Which argument is wrong, and why.
struct ArgumentError {
  std::string argument;
  std::string reason;
};

/// Fills the values of an operation, one for each of its arguments, from an object whose keys are
/// the arguments' names. Absent or null is right for an optional argument alone; so is a key that
/// is no argument's an error.
[[nodiscard]] std::optional<ArgumentError> readArguments(std::span<const Argument> arguments,
                                                         const json::Object& given,
                                                         std::span<void* const> values);

}  // namespace zavelo::command

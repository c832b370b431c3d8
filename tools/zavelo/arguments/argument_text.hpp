#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/zavelo/arguments/argument.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/json/value.hpp"

namespace zavelo::command {

/// An argument as it was typed: several texts for a list.
struct TypedArgument {
  const Argument* argument;
  std::vector<std::string> texts;
};

/// The JSON that is wanted of what was typed for the arguments, defaults filled in. "-" in place of
/// a secret reads a line, in place of JSON all of the standard input.
[[nodiscard]] Result<json::Object, ArgumentError> jsonArguments(
    const std::vector<Argument>& arguments, const std::vector<TypedArgument>& typed);

/// Numbers as text, whatever the locale. No value for anything else around or beside them, or
/// outside the range.
[[nodiscard]] std::optional<std::int64_t> integerOf(std::string_view text);

/// What is to be typed for an argument: "TEXT", "true|false".
[[nodiscard]] std::string placeholderOf(const ArgumentType& type);

}  // namespace zavelo::command

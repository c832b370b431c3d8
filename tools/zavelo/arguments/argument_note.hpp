#pragma once

#include <string_view>

#include "zavelo/json/value.hpp"

namespace zavelo::command {

/// What the terminal adds to an argument, by its name: one name means one thing in every operation.
struct ArgumentNote {
  std::string_view name;
  std::string_view help;
  /// What a person who leaves it out means. Null: it is not to be left out.
  json::Value (*byDefault)() = nullptr;
  /// Not to be seen in the list of processes: "-" reads it from the standard input.
  bool isSecret = false;
};

/// An empty note for a name that needs none.
[[nodiscard]] const ArgumentNote& noteOf(std::string_view name);

}  // namespace zavelo::command

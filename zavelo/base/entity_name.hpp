#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace zavelo::detail {

/// Read off the compiler's pretty function name, whose shape the assertions below pin.
template <auto Entity>
consteval std::string_view nameInSignature() {
  std::string_view text = __PRETTY_FUNCTION__;  // "... [with auto Entity = &A::b; ...]" or "]"
  const auto start = text.find("Entity = ");
  text.remove_prefix(start + std::string_view("Entity = ").size());
  text = text.substr(0, text.find_first_of(";]"));
  while (text.ends_with(')')) text.remove_suffix(1);
  const auto colon = text.rfind(':');
  return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

/// A copy of the name alone: a view into a signature would keep all of that in the program.
template <auto Entity>
struct NameCopy {  // a variable template would be a symbol of the shared library
  static constexpr auto characters = [] {
    constexpr std::string_view name = nameInSignature<Entity>();
    std::array<char, name.size()> copy{};
    std::ranges::copy(name, copy.begin());
    return copy;
  }();
};

/// The name that the code gives to a member or an enumerator: "price" for &Product::price,
/// "banned" for ErrorType::banned.
template <auto Entity>
consteval std::string_view entityName() {
  return {NameCopy<Entity>::characters.data(), NameCopy<Entity>::characters.size()};
}

struct NameProbe {
  int member;
  enum class Code { code };
};
static_assert(entityName<&NameProbe::member>() == "member");
static_assert(entityName<NameProbe::Code::code>() == "code");

}  // namespace zavelo::detail

#pragma once

#include <string_view>

namespace zavelo::detail {

/// The name that the code gives to a member or an enumerator: "price" for &Product::price,
/// "banned" for ErrorType::banned. Read off the compiler's pretty function name, whose shape the
/// assertions below pin.
template <auto Entity>
consteval std::string_view entityName() {
  std::string_view text = __PRETTY_FUNCTION__;  // "... [with auto Entity = &A::b; ...]" or "]"
  const auto start = text.find("Entity = ");
  text.remove_prefix(start + std::string_view("Entity = ").size());
  text = text.substr(0, text.find_first_of(";]"));
  while (text.ends_with(')')) text.remove_suffix(1);
  const auto colon = text.rfind(':');
  return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

struct NameProbe {
  int member;
  enum class Code { code };
};
static_assert(entityName<&NameProbe::member>() == "member");
static_assert(entityName<NameProbe::Code::code>() == "code");

}  // namespace zavelo::detail

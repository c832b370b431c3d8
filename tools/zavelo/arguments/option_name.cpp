#include "tools/zavelo/arguments/option_name.hpp"

#include <cstddef>

namespace zavelo::command {
namespace {

// ASCII alone and whatever the locale: these are names of the code.
constexpr bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}

/// A word begins at a capital after another kind of letter, or at the last capital of several.
bool beginsWord(std::string_view name, std::size_t at) {
  if (at == 0 || !isUpper(name[at])) return false;
  return !isUpper(name[at - 1]) || (at + 1 < name.size() && isLower(name[at + 1]));
}

}  // namespace

std::string kebabCase(std::string_view name) {
  std::string text;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (beginsWord(name, i)) text += '-';
    text += isUpper(name[i]) ? static_cast<char>(name[i] - 'A' + 'a') : name[i];
  }
  return text;
}

}  // namespace zavelo::command

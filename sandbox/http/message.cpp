#include "sandbox/http/message.hpp"

#include <algorithm>

namespace zavelo::sandbox {
namespace {

constexpr char lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(a, b, [](char x, char y) { return lower(x) == lower(y); });
}

std::string_view Request::header(std::string_view name) const noexcept {
  for (const auto& [key, value] : headers) {
    if (equalIgnoringCase(key, name)) return value;
  }
  return {};
}

}  // namespace zavelo::sandbox

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

std::string_view bearerToken(const Request& request) noexcept {
  // The scheme's case does not matter (RFC 9110 section 11.1).
  constexpr std::string_view scheme = "bearer ";
  const auto header = request.header("Authorization");
  if (!equalIgnoringCase(header.substr(0, scheme.size()), scheme)) return {};
  return header.substr(scheme.size());
}

}  // namespace zavelo::sandbox

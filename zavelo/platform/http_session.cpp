#include "zavelo/platform/http_session.hpp"

#include <algorithm>
#include <array>

namespace zavelo {

namespace {

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool sameHeaderName(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowered(x) == lowered(y); });
}

std::string_view methodName(ZVHTTPMethod method) noexcept {
  static constexpr std::array<std::string_view, 9> names{
      "OPTIONS", "GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "TRACE", "CONNECT"};
  const auto index = static_cast<std::size_t>(method);
  return index < names.size() ? names[index] : std::string_view();
}

}  // namespace zavelo

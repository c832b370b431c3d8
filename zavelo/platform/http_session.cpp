#include "zavelo/platform/http_session.hpp"

#include <array>

namespace zavelo {

std::string_view methodName(ZVHTTPMethod method) noexcept {
  static constexpr std::array<std::string_view, 9> names{
      "OPTIONS", "GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "TRACE", "CONNECT"};
  const auto index = static_cast<std::size_t>(method);
  return index < names.size() ? names[index] : std::string_view();
}

}  // namespace zavelo

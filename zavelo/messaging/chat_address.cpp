#include "zavelo/messaging/chat_address_internal.hpp"

#include <algorithm>
#include <utility>

namespace zavelo::detail {
namespace {

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLetter(char c) {
  return lowered(c) >= 'a' && lowered(c) <= 'z';
}

/// The scheme (RFC 3986 section 3.1) in lower case; empty when there is none.
std::string schemeOf(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || !isLetter(text.front())) return {};
  std::string scheme(text.substr(0, colon));
  for (char& c : scheme) {
    const bool allowed = isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
    if (!allowed) return {};
    c = lowered(c);
  }
  return scheme;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char letter = lowered(c);
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// RFC 3986 section 2.1. A path has no NUL.
std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '%') {
      if (i + 2 >= text.size()) return std::nullopt;
      const int high = hexDigit(text[i + 1]);
      const int low = hexDigit(text[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    if (c == '\0') return std::nullopt;
    decoded += c;
  }
  return decoded;
}

/// The path of what stands behind "file:".
std::optional<std::string> filePath(std::string_view rest) {
  rest = rest.substr(0, rest.find_first_of("?#"));
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const auto slash = std::min(rest.find('/'), rest.size());
    std::string host(rest.substr(0, slash));
    std::transform(host.begin(), host.end(), host.begin(), lowered);
    if (!host.empty() && host != "localhost") return std::nullopt;
    rest.remove_prefix(slash);
  }
  if (!rest.starts_with('/')) return std::nullopt;
  return percentDecoded(rest);
}

}  // namespace

std::optional<ChatAddress> chatAddress(std::string_view text) {
  const std::string scheme = text.empty() ? std::string() : schemeOf(text);
  if (scheme == "http" || scheme == "https")
    return ChatAddress{ChatAddress::Kind::http, std::string(text)};
  if (scheme == "file") {
    auto path = filePath(text.substr(scheme.size() + 1));
    if (!path) return std::nullopt;
    return ChatAddress{ChatAddress::Kind::file, std::move(*path)};
  }
  const bool isPath = !text.empty() && text.find('\0') == std::string_view::npos && scheme.empty();
  if (!isPath) return std::nullopt;
  return ChatAddress{ChatAddress::Kind::file, std::string(text)};
}

}  // namespace zavelo::detail

#include <charconv>

#include "zavelo/json/scalars_internal.hpp"

namespace zavelo::json::detail {
namespace {

std::optional<std::uint32_t> fourHexDigits(std::string_view text) noexcept {
  std::uint32_t value = 0;
  if (text.size() < 4) return std::nullopt;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + 4, value, 16);
  return fault == std::errc() && end == text.data() + 4 ? std::optional(value) : std::nullopt;
}

void appendUtf8(std::string& out, std::uint32_t codePoint) {
  const auto tail = [&](int shift) {
    out += static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
  };
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    tail(0);
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

/// Reads the digits behind "\u", and a second escape when the first is half of a surrogate pair.
bool takeCodePoint(std::string_view& raw, std::string& out) {
  auto codePoint = fourHexDigits(raw);
  if (!codePoint) return false;
  raw.remove_prefix(4);
  if (*codePoint >= 0xD800 && *codePoint < 0xDC00) {
    if (!raw.starts_with("\\u")) return false;
    const auto low = fourHexDigits(raw.substr(2));
    if (!low || *low < 0xDC00 || *low > 0xDFFF) return false;
    raw.remove_prefix(6);
    codePoint = 0x10000 + ((*codePoint - 0xD800) << 10) + (*low - 0xDC00);
  } else if (*codePoint >= 0xDC00 && *codePoint < 0xE000) {
    return false;
  }
  appendUtf8(out, *codePoint);
  return true;
}

char plainEscape(char c) noexcept {
  switch (c) {
    case '"':
    case '\\':
    case '/':
      return c;
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return 0;
  }
}

}  // namespace

bool unescape(std::string_view raw, std::string& out) {
  while (!raw.empty()) {
    const auto plain = std::min(raw.find('\\'), raw.size());
    out.append(raw.substr(0, plain));
    raw.remove_prefix(plain);
    if (raw.empty()) return true;
    if (raw.size() < 2) return false;
    const char kind = raw[1];
    raw.remove_prefix(2);
    if (kind == 'u') {
      if (!takeCodePoint(raw, out)) return false;
    } else if (const char c = plainEscape(kind)) {
      out += c;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace zavelo::json::detail

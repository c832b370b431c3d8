#include <algorithm>
#include <bit>
#include <charconv>

#include "zavelo/json/blocks_internal.hpp"
#include "zavelo/json/scalars_internal.hpp"

namespace zavelo::json::detail {
namespace {

std::optional<std::uint32_t> fourHexDigits(std::string_view text) noexcept {
  std::uint32_t value = 0;
  if (text.size() < 4) return std::nullopt;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + 4, value, 16);
  return fault == std::errc() && end == text.data() + 4 ? std::optional(value) : std::nullopt;
}

// The text in UTF-8 is never longer than its escapes, so what is written has its room.
char* writeUtf8(char* out, std::uint32_t codePoint) noexcept {
  const auto tail = [&](int shift) {
    *out++ = static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
  };
  if (codePoint < 0x80) {
    *out++ = static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    *out++ = static_cast<char>(0xC0 | (codePoint >> 6));
    tail(0);
  } else if (codePoint < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (codePoint >> 12));
    tail(6);
    tail(0);
  } else {
    *out++ = static_cast<char>(0xF0 | (codePoint >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
  return out;
}

bool isHighSurrogate(std::uint32_t unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(std::uint32_t unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Reads the digits after "\u", and a second escape when the first is half of a surrogate pair. A
/// half alone is what a sender leaves that cuts a text by its UTF-16 units: not worth losing the
/// page for, but UTF-8 has no form for it.
std::optional<std::uint32_t> takeCodePoint(std::string_view& raw) noexcept {
  constexpr std::uint32_t replacementCharacter = 0xFFFD;
  const auto first = fourHexDigits(raw);
  if (!first) return std::nullopt;
  raw.remove_prefix(4);
  if (isLowSurrogate(*first)) return replacementCharacter;
  if (!isHighSurrogate(*first)) return first;
  const auto second = raw.starts_with("\\u") ? fourHexDigits(raw.substr(2)) : std::nullopt;
  if (!second || !isLowSurrogate(*second)) return replacementCharacter;
  raw.remove_prefix(6);
  return 0x10000 + ((*first - 0xD800) << 10) + (*second - 0xDC00);
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

/// Takes what stands behind a backslash, which is taken as well.
bool takeEscape(std::string_view& raw, char*& to) noexcept {
  if (raw.size() < 2) return false;
  const char kind = raw[1];
  raw.remove_prefix(2);
  if (const char c = plainEscape(kind)) {
    *to++ = c;
    return true;
  }
  const auto codePoint = kind == 'u' ? takeCodePoint(raw) : std::nullopt;
  if (!codePoint) return false;
  to = writeUtf8(to, *codePoint);
  return true;
}

/// Takes the first 64 characters, and the rest of an escape that begins among them. In a text with
/// many escapes, as JSON in JSON is, the place of one hardly waits for that of the one before it.
bool takeChunk(std::string_view& raw, char*& to) noexcept {
  std::uint64_t mask = maskOf(raw.data(), [](Chars chars) { return chars == '\\'; });
  std::size_t from = 0;
  while (mask != 0) {
    const auto at = static_cast<std::size_t>(std::countr_zero(mask));
    to = copyRun(to, raw.data() + from, at - from);
    if (const char c = raw[at + 1]; c == '"' || c == '\\') {
      *to++ = c;
      from = at + 2;
    } else {
      std::string_view rest = raw.substr(at);
      if (!takeEscape(rest, to)) return false;
      from = raw.size() - rest.size();
    }
    mask = from < chunkSize ? mask & (~std::uint64_t{0} << from) : 0;
  }
  if (from < chunkSize) to = copyRun(to, raw.data() + from, chunkSize - from);
  raw.remove_prefix(std::max(from, chunkSize));
  return true;
}

}  // namespace

bool unescape(std::string_view raw, std::string& out) {
  // What is written is never longer than what it is read from, so what is there has room.
  out.resize(raw.size());
  char* to = out.data();
  while (raw.size() >= chunkSize + runSlack)
    if (!takeChunk(raw, to)) return false;
  while (raw.size() >= sizeof(std::uint64_t)) {
    const std::uint64_t block = blockAt(raw.data());
    std::memcpy(to, &block, sizeof block);
    const std::uint64_t marks = marksOf('\\', block);
    const auto plain = static_cast<std::size_t>(std::countr_zero(marks)) / 8;
    to += plain;
    raw.remove_prefix(plain);
    if (marks != 0 && !takeEscape(raw, to)) return false;
  }
  while (!raw.empty()) {
    if (raw.front() != '\\') {
      *to++ = raw.front();
      raw.remove_prefix(1);
    } else if (!takeEscape(raw, to)) {
      return false;
    }
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
  return true;
}

}  // namespace zavelo::json::detail

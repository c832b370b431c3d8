#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <algorithm>
#include <cstring>

#include "zavelo/base/number_text.hpp"
#include "zavelo/json/text_writer_internal.hpp"

namespace zavelo::json::detail {
namespace {

// Memory that is kept for the next text.
constexpr std::size_t keptCapacity = std::size_t{4} * 1024 * 1024;
constexpr std::size_t smallestCapacity = 4096;

constexpr std::uint64_t everyByte(std::uint8_t byte) {
  return 0x0101010101010101u * byte;
}

/// The high bit of each byte that is below 0x20, a quote, a backslash or not ASCII. (A byte above
/// one that is marked may be marked wrongly; the slow path looks again.)
std::uint64_t special(std::uint64_t block) {
  const auto zeroBytes = [](std::uint64_t word) { return word - everyByte(1); };
  const std::uint64_t control = block - everyByte(0x20);
  const std::uint64_t quote = zeroBytes(block ^ everyByte('"'));
  const std::uint64_t backslash = zeroBytes(block ^ everyByte('\\'));
  return (control | quote | backslash | block) & everyByte(0x80);
}

char shortEscape(char c) {
  switch (c) {
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    case '"':
    case '\\':
      return c;
    default:
      return 0;
  }
}

constexpr std::size_t longestEscape = 6;  // \u0000

char* writeEscaped(char* out, char c) {
  constexpr char digits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  if (const char escape = shortEscape(c)) {
    *out++ = '\\';
    *out++ = escape;
  } else if (byte < 0x20) {
    std::memcpy(out, "\\u00", 4);
    out += 4;
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 15];
  } else {
    *out++ = c;
  }
  return out;
}

}  // namespace

void TextWriter::grow(std::size_t bytes) {
  const auto size = static_cast<std::size_t>(end_ - buffer_.get());
  const auto capacity = static_cast<std::size_t>(limit_ - buffer_.get());
  const std::size_t bigger = std::max(capacity * 2, size + bytes + smallestCapacity);
  std::unique_ptr<char[]> buffer(new char[bigger]);
  if (size > 0) std::memcpy(buffer.get(), buffer_.get(), size);
  buffer_ = std::move(buffer);
  end_ = buffer_.get() + size;
  limit_ = buffer_.get() + bigger;
}

void TextWriter::shrink() {
  if (static_cast<std::size_t>(limit_ - buffer_.get()) <= keptCapacity) return;
  buffer_.reset();
  end_ = limit_ = nullptr;
}

void TextWriter::longNumber(std::int64_t value) {
  reserve(numberTextLimit);
  end_ = writeNumberText(end_, value);
}

void TextWriter::number(double value) {
  reserve(numberTextLimit);
  end_ = writeNumberText(end_, value);
}

bool TextWriter::quoted(std::string_view text) {
  // Room for the worst case, so that the loop need not look.
  reserve(text.size() * longestEscape + 2 + sizeof(std::uint64_t));
  char* out = end_;
  *out++ = '"';
  const char* in = text.data();
  const char* const end = in + text.size();
  bool ascii = true;
  while (in < end) {
    if (end - in >= 8) {
      std::uint64_t block;
      std::memcpy(&block, in, sizeof block);
      std::memcpy(out, &block, sizeof block);
      if (special(block) == 0) {
        in += 8;
        out += 8;
        continue;
      }
    }
    const auto count = std::min<std::ptrdiff_t>(8, end - in);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      ascii &= static_cast<unsigned char>(in[i]) < 0x80;
      out = writeEscaped(out, in[i]);
    }
    in += count;
  }
  *out++ = '"';
  end_ = out;
  return ascii || simdjson::validate_utf8(text.data(), text.size());
}

}  // namespace zavelo::json::detail

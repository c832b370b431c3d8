#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "zavelo/base/number_text.hpp"
#include "zavelo/json/blocks_internal.hpp"
#include "zavelo/json/text_writer_internal.hpp"

namespace zavelo::json::detail {
namespace {

// Memory that is kept for the next text.
constexpr std::size_t keptCapacity = std::size_t{4} * 1024 * 1024;
constexpr std::size_t smallestCapacity = 4096;

/// The high bit of each byte that is to be escaped: below 0x20, a quote or a backslash. (One above
/// a byte that is marked may be marked wrongly; only the lowest counts.)
std::uint64_t escaped(std::uint64_t block) {
  const auto zeroBytes = [](std::uint64_t word) { return word - everyByte(1); };
  const std::uint64_t control = block - everyByte(0x20);
  const std::uint64_t quote = zeroBytes(block ^ everyByte('"'));
  const std::uint64_t backslash = zeroBytes(block ^ everyByte('\\'));
  return (control | quote | backslash) & ~block & highBits;
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
    default:
      return 0;
  }
}

/// The last 1 to 7 characters of a text as a block, filled up with some that need no escape.
std::uint64_t tailBlock(const char* in, std::size_t left, std::size_t textSize) {
  std::uint64_t block = 0;
  if (textSize >= 8) {
    block = blockAt(in + left - 8) >> (8 * (8 - left));
  } else {
    for (std::size_t i = 0; i < left; ++i)
      block |= std::uint64_t{static_cast<unsigned char>(in[i])} << (8 * i);
  }
  return block | everyByte('a') << (8 * left);
}

constexpr std::size_t longestEscape = 6;  // \u0000

char* writeRareEscape(char* out, char c) {
  static constexpr char digits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  *out++ = '\\';
  if (const char escape = shortEscape(c)) {
    *out++ = escape;
    return out;
  }
  std::memcpy(out, "u00", 3);
  out[3] = digits[byte >> 4];
  out[4] = digits[byte & 15];
  return out + 5;
}

/// Inline for what nearly all escapes are.
inline char* writeEscaped(char* out, char c) {
  if (c != '"' && c != '\\') return writeRareEscape(out, c);
  out[0] = '\\';
  out[1] = c;
  return out + 2;
}

auto toBeEscaped(Chars chars) {
  return (chars < 0x20) | (chars == '"') | (chars == '\\');
}

/// Writes 16 characters, or those up to the first that is to be escaped and that one. Returns how
/// many it has read.
std::size_t writeBlock(char*& out, const char* in, Chars& seen) {
  Chars chars;
  std::memcpy(&chars, in, sizeof chars);
  std::memcpy(out, &chars, sizeof chars);
  seen |= chars;
  const std::uint64_t mask = highestBits(reinterpret_cast<Chars>(toBeEscaped(chars)));
  const auto plain = mask != 0 ? static_cast<std::size_t>(std::countr_zero(mask)) : sizeof chars;
  out += plain;
  if (mask == 0) return plain;
  out = writeEscaped(out, in[plain]);
  return plain + 1;
}

/// Writes 64 characters, and adds to `seen` the bits that they have. In a text with many escapes,
/// as JSON in JSON is, the place of one does not wait for that of the one before it.
char* escapedChunk(char* out, const char* in, Chars& seen) {
  std::uint64_t mask = maskOf(in, [&](Chars chars) {
    seen |= chars;
    return toBeEscaped(chars);
  });
  std::size_t from = 0;
  for (; mask != 0; mask &= mask - 1) {
    const auto at = static_cast<std::size_t>(std::countr_zero(mask));
    out = writeEscaped(copyRun(out, in + from, at - from), in[at]);
    from = at + 1;
  }
  return copyRun(out, in + from, chunkSize - from);
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
  // Room for the worst case, so that the loops need not look.
  reserve(text.size() * longestEscape + 2 + runSlack);
  char* out = end_;
  *out++ = '"';
  const char* in = text.data();
  const char* const end = in + text.size();
  Chars seen{};
  for (; static_cast<std::size_t>(end - in) >= chunkSize + runSlack; in += chunkSize)
    out = escapedChunk(out, in, seen);
  while (static_cast<std::size_t>(end - in) >= sizeof(Chars)) in += writeBlock(out, in, seen);
  std::uint64_t seenLast = 0;
  while (in < end) {
    const auto left = static_cast<std::size_t>(end - in);
    const std::uint64_t block = left >= 8 ? blockAt(in) : tailBlock(in, left, text.size());
    std::memcpy(out, &block, sizeof block);
    seenLast |= block;
    const std::uint64_t marks = escaped(block);
    const auto plain = marks != 0 ? static_cast<std::size_t>(std::countr_zero(marks)) / 8
                                  : std::min<std::size_t>(left, 8);
    in += plain;
    out += plain;
    if (marks != 0) out = writeEscaped(out, *in++);
  }
  *out++ = '"';
  end_ = out;
  return (highestBits(seen) == 0 && (seenLast & highBits) == 0) ||
         simdjson::validate_utf8(text.data(), text.size());
}

}  // namespace zavelo::json::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zavelo::json::detail {

// Eight characters at a time, in one register.

constexpr std::uint64_t everyByte(std::uint8_t byte) noexcept {
  return 0x0101010101010101u * byte;
}

constexpr std::uint64_t highBits = everyByte(0x80);

inline std::uint64_t blockAt(const char* in) noexcept {
  std::uint64_t block;
  std::memcpy(&block, in, sizeof block);
  return block;
}

/// The high bit of each byte that is `c`. (One above a byte that is marked may be marked wrongly;
/// only the lowest counts.)
constexpr std::uint64_t marksOf(char c, std::uint64_t block) noexcept {
  block ^= everyByte(static_cast<std::uint8_t>(c));
  return (block - everyByte(1)) & ~block & highBits;
}

/// Whether two texts, both readable for 8 bytes at least, begin alike. Inline, for short texts.
inline bool beginsWith(const char* text, const char* beginning, std::size_t size) noexcept {
  if (size < 8) return ((blockAt(text) ^ blockAt(beginning)) << (8 * (8 - size))) == 0;
  for (std::size_t at = 0; at + 8 < size; at += 8)
    if (blockAt(text + at) != blockAt(beginning + at)) return false;
  return blockAt(text + size - 8) == blockAt(beginning + size - 8);
}

/// Sixteen at a time, in one vector register. Comparing gives 0xFF where it holds, else 0.
using Chars = unsigned char __attribute__((vector_size(16)));
using SignedChars = char __attribute__((vector_size(16)));

/// The highest bits of all, the lowest for the first.
inline std::uint64_t highestBits(Chars chars) noexcept {
#if defined(__SSE2__)
  return static_cast<std::uint32_t>(
      __builtin_ia32_pmovmskb128(reinterpret_cast<SignedChars>(chars)));
#else
  constexpr std::uint64_t gather = 0x0102040810204080u;  // one bit of each byte into the highest
  std::uint64_t halves[2];
  std::memcpy(halves, &chars, sizeof halves);
  return (((halves[0] & highBits) >> 7) * gather >> 56) |
         ((((halves[1] & highBits) >> 7) * gather >> 56) << 8);
#endif
}

/// As many characters as a mask has bits.
constexpr std::size_t chunkSize = 64;
/// What copyRun() may read and write behind what it copies.
constexpr std::size_t runSlack = 16;

/// A mask of 64 characters, the lowest bit for the first; marks() compares sixteen of them.
template <class Marks>
std::uint64_t maskOf(const char* in, const Marks& marks) noexcept {
  const auto bits = [&](std::size_t at) {
    Chars chars;
    std::memcpy(&chars, in + at, sizeof chars);
    return highestBits(reinterpret_cast<Chars>(marks(chars))) << at;
  };
  return bits(0) | bits(16) | bits(32) | bits(48);
}

/// Copies a few characters in pieces of a fixed size, which cost less than finding out how many
/// there are. Returns the end of the copy.
inline char* copyRun(char* out, const char* in, std::size_t size) noexcept {
  std::memcpy(out, in, runSlack);
  for (std::size_t at = runSlack; at < size; at += runSlack)
    std::memcpy(out + at, in + at, runSlack);
  return out + size;
}

}  // namespace zavelo::json::detail

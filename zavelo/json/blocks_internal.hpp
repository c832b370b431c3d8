#pragma once

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

}  // namespace zavelo::json::detail

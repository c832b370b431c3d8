#include "sandbox/users/tokens.hpp"

#include <sodium.h>

#include <array>

namespace zavelo::sandbox {
namespace {

std::string blake2b(std::string_view content, std::size_t size) {
  std::string hash(size, '\0');
  crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()), hash.size(),
                     reinterpret_cast<const unsigned char*>(content.data()), content.size(),
                     nullptr, 0);
  return hash;
}

}  // namespace

std::string makeToken() {
  std::array<unsigned char, 32> bits;
  randombytes_buf(bits.data(), bits.size());
  constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::array<char, sodium_base64_ENCODED_LEN(bits.size(), variant)> text;
  return sodium_bin2base64(text.data(), text.size(), bits.data(), bits.size(), variant);
}

Blob tokenHash(std::string_view token) {
  return {blake2b(token, crypto_generichash_BYTES)};
}

std::string contentHash(std::string_view content) {
  const std::string hash = blake2b(content, crypto_generichash_BYTES_MIN);
  std::array<char, 2 * crypto_generichash_BYTES_MIN + 1> text;
  return sodium_bin2hex(text.data(), text.size(),
                        reinterpret_cast<const unsigned char*>(hash.data()), hash.size());
}

}  // namespace zavelo::sandbox

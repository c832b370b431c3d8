#include "sandbox/users/tokens.hpp"

#include <sodium.h>

#include <array>
#include <utility>

namespace zavelo::sandbox {
std::string makeToken() {
  std::array<unsigned char, 32> bits;
  randombytes_buf(bits.data(), bits.size());
  constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::array<char, sodium_base64_ENCODED_LEN(bits.size(), variant)> text;
  return sodium_bin2base64(text.data(), text.size(), bits.data(), bits.size(), variant);
}

Blob tokenHash(std::string_view token) {
  std::string hash(crypto_generichash_BYTES, '\0');
  crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()), hash.size(),
                     reinterpret_cast<const unsigned char*>(token.data()), token.size(), nullptr,
                     0);
  return {std::move(hash)};
}

}  // namespace zavelo::sandbox

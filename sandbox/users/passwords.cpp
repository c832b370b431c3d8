#include "sandbox/users/passwords.hpp"

#include <sodium.h>

#include <array>
#include <new>

namespace zavelo::sandbox {

std::string hashPassword(const std::string& password) {
  std::array<char, crypto_pwhash_STRBYTES> text;
  if (crypto_pwhash_str(text.data(), password.data(), password.size(),
                        crypto_pwhash_OPSLIMIT_INTERACTIVE,
                        crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0) {
    throw std::bad_alloc();
  }
  return text.data();
}

bool isPasswordHash(const std::string& text) {
  return crypto_pwhash_str_needs_rehash(text.c_str(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                        crypto_pwhash_MEMLIMIT_INTERACTIVE) == 0;
}

bool verifyPassword(const std::optional<std::string>& hash, const std::string& password) {
  if (!hash) {
    [[maybe_unused]] const auto spent = hashPassword(password);
    return false;
  }
  return crypto_pwhash_str_verify(hash->c_str(), password.data(), password.size()) == 0;
}

}  // namespace zavelo::sandbox

#pragma once

#include <optional>
#include <string>

namespace zavelo::sandbox {

/// Salted Argon2id (RFC 9106), 64 MB and some tens of milliseconds: slow on purpose.
[[nodiscard]] std::string hashPassword(const std::string& password);

/// Whether the text is what `hashPassword` makes. Another cost than ours is refused: checking a
/// password against it could take as long as its writer likes.
[[nodiscard]] bool isPasswordHash(const std::string& text);

/// Without a hash (there is no such member) false, after the same time as with one.
[[nodiscard]] bool verifyPassword(const std::optional<std::string>& hash,
                                  const std::string& password);

}  // namespace zavelo::sandbox

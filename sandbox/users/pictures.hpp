#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// The path that profile pictures are served under.
inline constexpr std::string_view picturePath = "/media/profiles/";

inline constexpr std::int64_t pictureBytesLimit = 10 * 1024 * 1024;

/// Whether it is a JPEG that can be decoded from its first byte to its last, of at most 16
/// megapixels. Takes its time.
[[nodiscard]] bool isPicture(const std::string& file);

/// Keeps the member's picture, in place of the one before.
void keepPicture(Transaction& transaction, std::int64_t member, const std::string& file);

/// The JPEG file of that name ("<member>-<hash>.jpeg"), or none.
[[nodiscard]] std::optional<std::string> findPicture(Transaction& transaction,
                                                     std::string_view name);

/// Changes with the content, so that it can be cached for good.
[[nodiscard]] std::string pictureAddress(const std::string& site, std::int64_t member,
                                         const std::string& hash);

}  // namespace zavelo::sandbox

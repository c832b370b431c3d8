#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/http/message.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// A kind of files; each owner has at most one. Served under `/media/<name>/`.
struct Shelf {
  std::string_view name;
  std::string_view ending;
};
inline constexpr Shelf profilePictures{"profiles", ".jpeg"};
inline constexpr Shelf streamCovers{"covers", ".jpeg"};
inline constexpr Shelf streamChats{"chats", ".txt"};
inline constexpr Shelf productPictures{"products", ".jpeg"};

/// The largest picture, in bytes.
inline constexpr double pictureLimit = 10 * 1024 * 1024;

/// Keeps the owner's file, in place of the one before.
void keepFile(Transaction& transaction, const Shelf& shelf, std::int64_t owner,
              const FormPart& file);
/// The content of the owner's file.
[[nodiscard]] std::optional<std::string> contentOf(Transaction& transaction, const Shelf& shelf,
                                                   std::int64_t owner);
void dropFile(Transaction& transaction, const Shelf& shelf, std::int64_t owner);

/// Where it is served; empty without a name. The address changes with the content, so that it can
/// be cached for good.
[[nodiscard]] std::string fileAddress(const std::string& site, const Shelf& shelf,
                                      const std::optional<std::string>& name);

/// GET for every file. The database outlives it.
[[nodiscard]] std::vector<Endpoint> mediaEndpoints(Database& database);

}  // namespace zavelo::sandbox

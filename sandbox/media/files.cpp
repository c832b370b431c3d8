#include "sandbox/media/files.hpp"

#include <sodium.h>

#include <array>

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/media/";

/// Short hexadecimal text that changes with the content.
std::string contentHash(std::string_view content) {
  std::array<unsigned char, crypto_generichash_BYTES_MIN> hash;
  crypto_generichash(hash.data(), hash.size(),
                     reinterpret_cast<const unsigned char*>(content.data()), content.size(),
                     nullptr, 0);
  std::array<char, 2 * hash.size() + 1> text;
  return sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
}

Response serveFile(Database& database, const Call& call) {
  const auto path = std::string_view(call.request.path).substr(root.size());
  const auto slash = path.find('/');
  const auto name = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
  const auto row = database.transact([&](Transaction& transaction) {
    return transaction.first<std::string, Blob>(
        "SELECT content_type, content FROM media WHERE shelf = ? AND name = ?",
        path.substr(0, slash), name);
  });
  if (!row) return failWithStatus(404, "There is no such file");
  const auto& [contentType, content] = *row;
  return {.contentType = contentType,
          .body = content.bytes,
          .headers = {{"Cache-Control", "public, max-age=31536000, immutable"}}};
}

}  // namespace

void keepFile(Transaction& transaction, const Shelf& shelf, std::int64_t owner,
              const FormPart& file) {
  const std::string name =
      std::to_string(owner).append("-").append(contentHash(file.content)).append(shelf.ending);
  transaction.run(
      "INSERT OR REPLACE INTO media (shelf, owner, name, content_type, content) "
      "VALUES (?, ?, ?, ?, ?)",
      shelf.name, owner, name, file.contentType, Blob{file.content});
}

std::optional<std::string> contentOf(Transaction& transaction, const Shelf& shelf,
                                     std::int64_t owner) {
  auto content = transaction.find<Blob>("SELECT content FROM media WHERE shelf = ? AND owner = ?",
                                        shelf.name, owner);
  return content ? std::optional(std::move(content->bytes)) : std::nullopt;
}

void dropFile(Transaction& transaction, const Shelf& shelf, std::int64_t owner) {
  transaction.run("DELETE FROM media WHERE shelf = ? AND owner = ?", shelf.name, owner);
}

std::string fileAddress(const std::string& site, const Shelf& shelf,
                        const std::optional<std::string>& name) {
  if (!name) return {};
  return std::string(site).append(root).append(shelf.name).append("/").append(*name);
}

std::vector<Endpoint> mediaEndpoints(Database& database) {
  return {get("/media/*", handlersIn(database)(serveFile))};
}

}  // namespace zavelo::sandbox

#include "sandbox/users/pictures.hpp"

#include <charconv>
#include <span>

#include "sandbox/users/tokens.hpp"
#include "zavelo/platform/jpeg.hpp"

namespace zavelo::sandbox {

bool isPicture(const std::string& file) {
  constexpr std::size_t pixels = std::size_t{16} * 1024 * 1024;
  return decodeJpeg(std::as_bytes(std::span(file)), pixels).has_value();
}

void keepPicture(Transaction& transaction, std::int64_t member, const std::string& file) {
  transaction.run("INSERT OR REPLACE INTO pictures (member, hash, content) VALUES (?, ?, ?)",
                  member, contentHash(file), Blob{file});
}

std::optional<std::string> findPicture(Transaction& transaction, std::string_view name) {
  constexpr std::string_view ending = ".jpeg";
  std::int64_t member = 0;
  const char* end = name.data() + name.size();
  const auto [dash, error] = std::from_chars(name.data(), end, member);
  if (error != std::errc{} || dash == end || *dash != '-' || !name.ends_with(ending)) return {};
  const std::string_view hash(dash + 1, end - ending.size());
  const auto row =
      transaction.first("SELECT content FROM pictures WHERE member = ? AND hash = ?", member, hash);
  return row ? std::optional(row->bytes(0)) : std::nullopt;
}

std::string pictureAddress(const std::string& site, std::int64_t member, const std::string& hash) {
  return site + std::string(picturePath) + std::to_string(member) + "-" + hash + ".jpeg";
}

}  // namespace zavelo::sandbox

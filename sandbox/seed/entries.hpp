#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/gifts/wallet.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/products/product.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/member_parameters.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// A member's zaveloId under another name.
inline constexpr auto ownerParameter =
    required(text("owner", zaveloIdParameter.least, zaveloIdParameter.most));
inline constexpr auto sellerParameter =
    required(text("seller", zaveloIdParameter.least, zaveloIdParameter.most));
inline constexpr auto passwordHashParameter = text("passwordHash", 1, 200);
inline constexpr auto goldParameter = integer("gold", 0, walletLimit);
inline constexpr auto beansParameter = integer("beans", 0, walletLimit);
inline constexpr auto isBannedParameter = flag("isBanned");
inline constexpr auto statusParameter = text("status", 0, 20);
inline constexpr auto pinnedTextParameter = pinnedParameter("pinned");
inline constexpr auto positionParameter = pinnedParameter("position");

/// A kind of entry in a seed.
struct EntryKind {
  std::string_view list;  ///< what the seed calls the list of them
  std::vector<Parameter> parameters;
  Shelf shelf;  ///< for the pictures of them
};
[[nodiscard]] const EntryKind& memberEntries();
[[nodiscard]] const EntryKind& streamEntries();
[[nodiscard]] const EntryKind& productEntries();

/// What is wrong with an entry of any kind whose parameters are right as far as they say.
[[nodiscard]] std::optional<Problem> problemOf(const Arguments& entry);
/// The file that the entry brings.
[[nodiscard]] std::optional<FormPart> pictureIn(const Arguments& entry);
void addPicture(json::Object& entry, const std::string& content);

// The entries that load those again, without what is the default.
[[nodiscard]] json::Object entryOf(const Member& member);
[[nodiscard]] json::Object entryOf(const Stream& stream, const std::string& owner,
                                   std::int64_t tagId);
[[nodiscard]] json::Object entryOf(const Product& product, const std::string& seller);

}  // namespace zavelo::sandbox

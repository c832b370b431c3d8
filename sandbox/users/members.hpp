#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo::sandbox {

/// What a new member finds in the wallet.
inline constexpr std::int64_t startingGold = 1000;

/// A member as the database has it.
struct Member {
  std::int64_t id = 0;
  std::string zaveloId;
  std::string userName;  ///< unique, case aside
  std::string displayName;
  std::string foldedName;                   ///< the display name without case, for searches
  std::optional<std::string> passwordHash;  ///< none: signs in by zaveloId alone
  std::string gender;
  std::string dob;
  std::string about;
  std::string image;  ///< address outside the sandbox, for as long as there is no picture
  std::optional<double> latitude;
  std::optional<double> longitude;
  bool banned = false;
  Time created{};
  std::optional<std::string> pictureName;  ///< of the file on its shelf
  std::string promoCode;
  std::string promoDescription;
  bool isSeller = false;  ///< has products
  std::int64_t gold = startingGold;
  std::int64_t beans = 0;
  std::int64_t goldFromFans = 0;  ///< what all gifts to the member cost
  std::int64_t giftsReceived = 0;
  std::int64_t giftsSent = 0;
};

[[nodiscard]] std::optional<Member> memberById(Transaction& transaction, std::int64_t id);
[[nodiscard]] std::optional<Member> memberByZaveloId(Transaction& transaction,
                                                     std::string_view zaveloId);
[[nodiscard]] std::optional<Member> memberByUserName(Transaction& transaction,
                                                     std::string_view userName);

/// Up to `limit` members in the order of their ids, all after `afterId`, whose display name
/// contains the text, case aside. Banned ones are not found.
[[nodiscard]] std::vector<Member> searchMembers(Transaction& transaction,
                                                std::string_view displayName, std::int64_t afterId,
                                                std::int64_t limit);

/// In the order of their ids, banned ones too.
[[nodiscard]] std::vector<Member> allMembers(Transaction& transaction);

/// Adds the member and returns its id; the one in the record is ignored, and so is the picture. Its
/// zaveloId and userName are free.
std::int64_t addMember(Transaction& transaction, Member member);
/// Writes what a profile edit or a sign-in changes: display name, gender, dob, about, position.
void updateMember(Transaction& transaction, const Member& member);

void setPromoCode(Transaction& transaction, std::int64_t member, std::string_view code,
                  std::string_view description);

/// Whether the text can be a userName: ASCII letters, digits, ".", "_" and "-".
[[nodiscard]] bool isUserName(std::string_view text);
/// A free userName: the wish if it can be had, else a made-up one.
[[nodiscard]] std::string freeUserName(Transaction& transaction, std::string_view wish);

/// The profile as clients see it. `site` is the address that the picture is served under.
[[nodiscard]] ZVUserInfo profileOf(const Member& member, const std::string& site);

}  // namespace zavelo::sandbox

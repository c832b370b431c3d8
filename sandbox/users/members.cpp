#include "sandbox/users/members.hpp"

#include <algorithm>
#include <cmath>

#include "sandbox/api/unicode.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/state/table.hpp"
#include "sandbox/users/tokens.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto table = tableOf<Member>(
    "members", key<&Member::id>(), column<&Member::zaveloId>(), column<&Member::userName>(),
    column<&Member::displayName>(), column<&Member::foldedName>(),
    column<&Member::passwordHash>("password"), column<&Member::gender>(), column<&Member::dob>(),
    column<&Member::about>(), column<&Member::image>(), column<&Member::latitude>(),
    column<&Member::longitude>(), column<&Member::banned>(), column<&Member::created>(),
    column<&Member::promoCode>(), column<&Member::promoDescription>(), column<&Member::gold>(),
    column<&Member::beans>(), column<&Member::goldFromFans>(), column<&Member::giftsReceived>(),
    column<&Member::giftsSent>(),
    computed<&Member::pictureName>(
        "(SELECT name FROM media WHERE shelf = 'profiles' AND owner = members.id)"),
    computed<&Member::isSeller>("EXISTS (SELECT 1 FROM products WHERE seller = members.id)"));

std::optional<std::int64_t> rounded(const std::optional<double>& degrees) {
  return degrees ? std::optional(static_cast<std::int64_t>(std::llround(*degrees))) : std::nullopt;
}

}  // namespace

std::optional<Member> memberById(Transaction& transaction, std::int64_t id) {
  return table.find(transaction, "id = ?", id);
}

std::optional<Member> memberByZaveloId(Transaction& transaction, std::string_view zaveloId) {
  return table.find(transaction, "zavelo_id = ?", zaveloId);
}

std::optional<Member> memberByUserName(Transaction& transaction, std::string_view userName) {
  return table.find(transaction, "user_name = ?", userName);
}

std::vector<Member> searchMembers(Transaction& transaction, std::string_view displayName,
                                  std::int64_t afterId, std::int64_t limit) {
  return table.list(transaction,
                    "id > ? AND banned = 0 AND instr(folded_name, ?) > 0 ORDER BY id LIMIT ?",
                    afterId, caseFolded(displayName), limit);
}

std::vector<Member> allMembers(Transaction& transaction) {
  return table.list(transaction, "true ORDER BY id");
}

std::int64_t addMember(Transaction& transaction, Member member) {
  member.foldedName = caseFolded(member.displayName);
  return table.insert(transaction, member);
}

void updateMember(Transaction& transaction, const Member& member) {
  transaction.run(
      "UPDATE members SET display_name = ?, folded_name = ?, gender = ?, dob = ?, about = ?, "
      "latitude = ?, longitude = ? WHERE id = ?",
      member.displayName, caseFolded(member.displayName), member.gender, member.dob, member.about,
      member.latitude, member.longitude, member.id);
}

void setPromoCode(Transaction& transaction, std::int64_t member, std::string_view code,
                  std::string_view description) {
  transaction.run("UPDATE members SET promo_code = ?, promo_description = ? WHERE id = ?", code,
                  description, member);
}

bool isUserName(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
  });
}

std::string freeUserName(Transaction& transaction, std::string_view wish) {
  std::string name(wish.substr(0, 64));
  while (!isUserName(name) || memberByUserName(transaction, name)) {
    name = "user-" + makeToken().substr(0, 8);
  }
  return name;
}

ZVUserInfo profileOf(const Member& member, const std::string& site) {
  ZVUserInfo profile;
  profile.latitude = rounded(member.latitude);
  profile.longitude = rounded(member.longitude);
  profile.userId = member.id;
  profile.userName = member.userName;
  profile.displayName = member.displayName;
  profile.userImage =
      member.pictureName ? fileAddress(site, profilePictures, member.pictureName) : member.image;
  profile.gender = member.gender;
  profile.doB = member.dob;
  profile.about = member.about;
  profile.created = isoText(member.created);
  profile.signInType = member.passwordHash ? 1 : 2;
  for (auto* on :
       {&profile.loginLogoutStatus, &profile.roleId, &profile.status, &profile.type,
        &profile.notification, &profile.liveNotification, &profile.searchable,
        &profile.notificationSound, &profile.voiceCall, &profile.videoCall, &profile.messaging}) {
    *on = 1;
  }
  for (auto* none :
       {&profile.distance, &profile.language, &profile.followerCount, &profile.followingCount,
        &profile.isFollow, &profile.unreadNotificationCount, &profile.businessType,
        &profile.hideMessageDetails, &profile.unreadMessageCount, &profile.nearbyFeature}) {
    *none = 0;
  }
  profile.giftReceivedCount = member.giftsReceived;
  profile.giftSentCount = member.giftsSent;
  profile.totalBean = member.beans;
  profile.totalGold = member.gold;
  profile.totalGoldFans = member.goldFromFans;
  profile.skipHostTutorial = profile.skipViewerTutorial = profile.skipHomeTutorial = false;
  profile.isSeller = member.isSeller ? 1 : 0;
  profile.giftReceivable = true;
  profile.isBlock = false;
  return profile;
}

}  // namespace zavelo::sandbox

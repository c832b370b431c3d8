#include "sandbox/users/members.hpp"

#include <algorithm>
#include <cmath>

#include "sandbox/api/unicode.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/users/tokens.hpp"

namespace zavelo::sandbox {
namespace {

/// The query of whole members under that condition.
std::string membersWhere(std::string_view condition) {
  return std::string(
             "SELECT m.id, m.zavelo_id, m.user_name, m.display_name, m.password, m.gender, m.dob, "
             "m.about, m.image, m.latitude, m.longitude, m.banned, m.created, p.name, "
             "m.promo_code, m.promo_description, "
             "EXISTS (SELECT 1 FROM products WHERE seller = m.id), "
             "m.gold, m.beans, m.gold_from_fans, m.gifts_received, m.gifts_sent "
             "FROM members m LEFT JOIN media p ON p.shelf = 'profiles' AND p.owner = m.id WHERE ")
      .append(condition);
}

Member memberIn(const Row& row) {
  return {.id = row.integer(0),
          .zaveloId = row.text(1),
          .userName = row.text(2),
          .displayName = row.text(3),
          .passwordHash = row.textOrNone(4),
          .gender = row.text(5),
          .dob = row.text(6),
          .about = row.text(7),
          .image = row.text(8),
          .latitude = row.realOrNone(9),
          .longitude = row.realOrNone(10),
          .banned = row.integer(11) != 0,
          .created = fromStored(row.integer(12)),
          .pictureName = row.textOrNone(13),
          .promoCode = row.text(14),
          .promoDescription = row.text(15),
          .isSeller = row.integer(16) != 0,
          .gold = row.integer(17),
          .beans = row.integer(18),
          .goldFromFans = row.integer(19),
          .giftsReceived = row.integer(20),
          .giftsSent = row.integer(21)};
}

std::optional<Member> memberIn(const std::optional<Row>& row) {
  return row ? std::optional(memberIn(*row)) : std::nullopt;
}

std::vector<Member> membersIn(const std::vector<Row>& rows) {
  std::vector<Member> members;
  for (const auto& row : rows) members.push_back(memberIn(row));
  return members;
}

std::optional<std::int64_t> rounded(const std::optional<double>& degrees) {
  return degrees ? std::optional(static_cast<std::int64_t>(std::llround(*degrees))) : std::nullopt;
}

}  // namespace

std::optional<Member> memberById(Transaction& transaction, std::int64_t id) {
  return memberIn(transaction.first(membersWhere("m.id = ?"), id));
}

std::optional<Member> memberByZaveloId(Transaction& transaction, std::string_view zaveloId) {
  return memberIn(transaction.first(membersWhere("m.zavelo_id = ?"), zaveloId));
}

std::optional<Member> memberByUserName(Transaction& transaction, std::string_view userName) {
  return memberIn(transaction.first(membersWhere("m.user_name = ?"), userName));
}

std::vector<Member> searchMembers(Transaction& transaction, std::string_view displayName,
                                  std::int64_t afterId, std::int64_t limit) {
  static const std::string query = membersWhere(
      "m.id > ? AND m.banned = 0 AND instr(m.folded_name, ?) > 0 ORDER BY m.id LIMIT ?");
  return membersIn(transaction.all(query, afterId, caseFolded(displayName), limit));
}

std::vector<Member> allMembers(Transaction& transaction) {
  return membersIn(transaction.all(membersWhere("true ORDER BY m.id")));
}

std::int64_t addMember(Transaction& transaction, const Member& member) {
  transaction.run(
      "INSERT INTO members (zavelo_id, user_name, display_name, folded_name, password, gender, "
      "dob, "
      "about, image, latitude, longitude, promo_code, promo_description, banned, gold, beans, "
      "created) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
      member.zaveloId, member.userName, member.displayName, caseFolded(member.displayName),
      member.passwordHash, member.gender, member.dob, member.about, member.image, member.latitude,
      member.longitude, member.promoCode, member.promoDescription, member.banned, member.gold,
      member.beans, stored(member.created));
  return transaction.lastId();
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

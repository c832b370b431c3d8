#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "sandbox/users/member_parameters.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/passwords.hpp"
#include "sandbox/users/user_endpoints.hpp"

namespace zavelo::sandbox {
namespace {

constexpr Parameter deviceUdid = text("deviceUdid", 0, 200);
constexpr Parameter deviceType = integer("deviceType", 0, 1000);

ZVUser sessionRecord(const Tokens& tokens, Time now) {
  ZVUser user;
  user.accessToken = tokens.access;
  user.refreshToken = tokens.refresh;
  user.expires = isoText(tokens.expires);
  user.unixTimestamp = std::chrono::duration<double>(now.time_since_epoch()).count();
  return user;
}

/// Without a device the sign-in counts as one from a nameless device.
std::string deviceOf(const Call& call) {
  return call.arguments.text("deviceUdid").value_or("");
}

void takePosition(Member& member, const Call& call) {
  if (const auto degrees = call.arguments.number("latitude")) member.latitude = degrees;
  if (const auto degrees = call.arguments.number("longitude")) member.longitude = degrees;
}

Response signIn(UserRoom& room, Transaction& transaction, const Member& member, const Call& call) {
  if (member.banned) return fail(bannedProblem());
  updateMember(transaction, member);
  const Tokens tokens = room.sessions.signInMember(transaction, member.id, deviceOf(call));
  ZVUser user = sessionRecord(tokens, room.sessions.now());
  user.userInfo = std::make_shared<ZVUserInfo>(profileOf(member, room.site));
  user.userName = member.userName;
  return succeed(user);
}

Member newMember(UserRoom& room, const Call& call) {
  Member member;
  member.zaveloId = *call.arguments.text("zaveloId");
  member.displayName = call.arguments.text("displayName").value_or("");
  if (member.displayName.empty()) member.displayName = member.zaveloId;
  member.created = room.sessions.now();
  takePosition(member, call);
  return member;
}

Response registerMember(UserRoom& room, const Call& call) {
  Member member = newMember(room, call);
  member.gender = call.arguments.text("gender").value_or("");
  member.image = call.arguments.text("profileImage").value_or("");
  const std::string wish = call.arguments.text("userName").value_or("");
  if (!wish.empty() && !isUserName(wish)) {
    return fail(
        parameterProblem("userName", R"(expected ASCII letters, digits, ".", "_" and "-")"));
  }
  if (const auto chosen = call.arguments.text("password")) {
    member.passwordHash = room.throttle.run([&] { return hashPassword(*chosen); });
  }
  return room.database.transact([&](Transaction& transaction) {
    if (memberByZaveloId(transaction, member.zaveloId)) {
      return fail(parameterProblem("zaveloId", "is registered already"));
    }
    if (!wish.empty() && memberByUserName(transaction, wish)) {
      return fail(parameterProblem("userName", "is taken"));
    }
    member.userName = freeUserName(transaction, wish.empty() ? member.zaveloId : wish);
    member.id = addMember(transaction, member);
    return signIn(room, transaction, member, call);
  });
}

Response login(UserRoom& room, const Call& call) {
  const std::string id = *call.arguments.text("zaveloId");
  const std::string given = *call.arguments.text("password");
  const auto find = [&](Transaction& transaction) { return memberByZaveloId(transaction, id); };
  const auto known = room.database.transact(find);
  const auto hash = known ? known->passwordHash : std::nullopt;
  const bool right = room.throttle.run([&] { return verifyPassword(hash, given); });
  // One answer for both, so that nobody learns who is a member.
  if (!right) return fail({Code::userNotFound, "Unknown zaveloId or wrong password"});
  return room.database.transact([&](Transaction& transaction) {
    Member member = *find(transaction);
    takePosition(member, call);
    return signIn(room, transaction, member, call);
  });
}

/// The partner app vouches for its users: a zaveloId is enough, and an unknown one joins.
Response loginZavelo(UserRoom& room, const Call& call) {
  return room.database.transact([&](Transaction& transaction) {
    auto member = memberByZaveloId(transaction, *call.arguments.text("zaveloId"));
    if (!member) {
      member = newMember(room, call);
      member->userName = freeUserName(transaction, member->zaveloId);
      member->id = addMember(transaction, *member);
    }
    takePosition(*member, call);
    if (auto name = call.arguments.text("displayName"); name && !name->empty()) {
      member->displayName = std::move(*name);
    }
    return signIn(room, transaction, *member, call);
  });
}

Response loginGuest(UserRoom& room, const Call& call) {
  const std::string device = *call.arguments.text("deviceUdid");
  return room.database.transact([&](Transaction& transaction) {
    const Time now = room.sessions.now();
    transaction.run("INSERT OR IGNORE INTO guests (device, created) VALUES (?, ?)", device, now);
    const auto guest =
        transaction.value<std::int64_t>("SELECT id FROM guests WHERE device = ?", device);
    ZVUser user = sessionRecord(room.sessions.signInGuest(transaction, guest, device), now);
    user.guestId = guest;
    return succeed(user);
  });
}

Response refresh(UserRoom& room, const Call& call) {
  return room.database.transact([&](Transaction& transaction) {
    auto tokens = room.sessions.renew(transaction, *call.arguments.text("refreshToken"));
    if (!tokens) return fail(tokens.error());
    return succeed(ZVRefreshToken{std::move(tokens->access), std::move(tokens->refresh),
                                  isoText(tokens->expires)});
  });
}

Response logout(UserRoom& room, const Call& call) {
  room.database.transact(
      [&](Transaction& transaction) { Sessions::end(transaction, call.identity.session); });
  return succeed(true);
}

}  // namespace

std::vector<Endpoint> signInEndpoints(UserRoom& room) {
  const auto at = handlersIn(room);
  return {
      post("/api/users/zavelo-register", Access::open, at(registerMember),
           {required(zaveloIdParameter), userNameParameter, displayNameParameter, passwordParameter,
            genderParameter, deviceUdid, text("deviceType", 0, 50), latitudeParameter,
            longitudeParameter, profileImageParameter, text("version", 0, 50),
            text("deviceName", 0, 200), text("osVersion", 0, 50)}),
      post("/api/users/login", Access::open, at(login),
           {required(zaveloIdParameter), required(passwordParameter), required(deviceUdid),
            required(deviceType), required(latitudeParameter), required(longitudeParameter)}),
      post("/api/users/zavelo-login", Access::open, at(loginZavelo),
           {required(zaveloIdParameter), displayNameParameter, latitudeParameter,
            longitudeParameter, deviceUdid, required(deviceType)}),
      post("/api/users/guest-login", Access::open, at(loginGuest),
           {required(text("deviceUdid", 1, 200)), required(deviceType)}),
      post("/api/users/refresh", Access::open, at(refresh),
           {required(text("refreshToken", 1, 200))}),
      post("/api/users/logout", Access::session, at(logout)),
  };
}

}  // namespace zavelo::sandbox

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

constexpr auto deviceUdid = text("deviceUdid", 0, 200);
constexpr auto deviceType = required(integer("deviceType", 0, 1000));
constexpr auto guestDevice = required(text("deviceUdid", 1, 200));
constexpr auto loginPassword = required(passwordParameter);
constexpr auto refreshTokenParameter = required(text("refreshToken", 1, 200));

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
  return call.arguments[deviceUdid].value_or("");
}

void takePosition(Member& member, const Call& call) {
  if (const auto degrees = call.arguments[latitudeParameter]) member.latitude = degrees;
  if (const auto degrees = call.arguments[longitudeParameter]) member.longitude = degrees;
}

Response signIn(UserContext& context, Transaction& transaction, const Member& member,
                const Call& call) {
  if (member.banned) return fail(bannedProblem());
  updateMember(transaction, member);
  const Tokens tokens = context.sessions.signInMember(transaction, member.id, deviceOf(call));
  ZVUser user = sessionRecord(tokens, context.sessions.now());
  user.userInfo = std::make_shared<ZVUserInfo>(profileOf(member, context.site));
  user.userName = member.userName;
  return succeed(user);
}

Member newMember(UserContext& context, const Call& call) {
  Member member;
  member.zaveloId = call.arguments[zaveloIdParameter];
  member.displayName = call.arguments[displayNameParameter].value_or("");
  if (member.displayName.empty()) member.displayName = member.zaveloId;
  member.created = context.sessions.now();
  takePosition(member, call);
  return member;
}

Response registerMember(UserContext& context, const Call& call) {
  Member member = newMember(context, call);
  member.gender = call.arguments[genderParameter].value_or("");
  member.image = call.arguments[profileImageParameter].value_or("");
  const std::string wish = call.arguments[userNameParameter].value_or("");
  if (!wish.empty() && !isUserName(wish)) {
    return fail(
        parameterProblem("userName", R"(expected ASCII letters, digits, ".", "_" and "-")"));
  }
  if (const auto chosen = call.arguments[passwordParameter]) {
    member.passwordHash = context.throttle.run([&] { return hashPassword(*chosen); });
  }
  return context.database.transact([&](Transaction& transaction) {
    if (memberByZaveloId(transaction, member.zaveloId)) {
      return fail(parameterProblem("zaveloId", "is registered already"));
    }
    if (!wish.empty() && memberByUserName(transaction, wish)) {
      return fail(parameterProblem("userName", "is taken"));
    }
    member.userName = freeUserName(transaction, wish.empty() ? member.zaveloId : wish);
    member.id = addMember(transaction, member);
    return signIn(context, transaction, member, call);
  });
}

Response login(UserContext& context, const Call& call) {
  const std::string id = call.arguments[zaveloIdParameter];
  const std::string given = call.arguments[loginPassword];
  const auto find = [&](Transaction& transaction) { return memberByZaveloId(transaction, id); };
  const auto known = context.database.transact(find);
  const auto hash = known ? known->passwordHash : std::nullopt;
  const bool right = context.throttle.run([&] { return verifyPassword(hash, given); });
  // One answer for both, so that it does not reveal who is a member.
  if (!right) return fail({Code::userNotFound, "Unknown zaveloId or wrong password"});
  return context.database.transact([&](Transaction& transaction) {
    Member member = *find(transaction);
    takePosition(member, call);
    return signIn(context, transaction, member, call);
  });
}

/// The partner app vouches for its users: a zaveloId is enough, and an unknown one joins.
Response loginZavelo(UserContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    auto member = memberByZaveloId(transaction, call.arguments[zaveloIdParameter]);
    if (!member) {
      member = newMember(context, call);
      member->userName = freeUserName(transaction, member->zaveloId);
      member->id = addMember(transaction, *member);
    }
    takePosition(*member, call);
    if (auto name = call.arguments[displayNameParameter]; name && !name->empty()) {
      member->displayName = std::move(*name);
    }
    return signIn(context, transaction, *member, call);
  });
}

Response loginGuest(UserContext& context, const Call& call) {
  const std::string device = call.arguments[guestDevice];
  return context.database.transact([&](Transaction& transaction) {
    const Time now = context.sessions.now();
    transaction.run("INSERT OR IGNORE INTO guests (device, created) VALUES (?, ?)", device, now);
    const auto guest =
        transaction.value<std::int64_t>("SELECT id FROM guests WHERE device = ?", device);
    ZVUser user = sessionRecord(context.sessions.signInGuest(transaction, guest, device), now);
    user.guestId = guest;
    return succeed(user);
  });
}

Response refresh(UserContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    auto tokens = context.sessions.renew(transaction, call.arguments[refreshTokenParameter]);
    if (!tokens) return fail(tokens.error());
    return succeed(ZVRefreshToken{std::move(tokens->access), std::move(tokens->refresh),
                                  isoText(tokens->expires)});
  });
}

Response logout(UserContext& context, const Call& call) {
  context.database.transact(
      [&](Transaction& transaction) { Sessions::end(transaction, call.identity.session); });
  return succeed(true);
}

}  // namespace

std::vector<Endpoint> signInEndpoints(UserContext& context) {
  const auto at = handlersIn(context);
  return {
      post("/api/users/zavelo-register", Access::open, at(registerMember),
           {zaveloIdParameter, userNameParameter, displayNameParameter, passwordParameter,
            genderParameter, deviceUdid, text("deviceType", 0, 50), latitudeParameter,
            longitudeParameter, profileImageParameter, text("version", 0, 50),
            text("deviceName", 0, 200), text("osVersion", 0, 50)}),
      post("/api/users/login", Access::open, at(login),
           {zaveloIdParameter, loginPassword, required(deviceUdid), deviceType,
            required(latitudeParameter), required(longitudeParameter)}),
      post("/api/users/zavelo-login", Access::open, at(loginZavelo),
           {zaveloIdParameter, displayNameParameter, latitudeParameter, longitudeParameter,
            deviceUdid, deviceType}),
      post("/api/users/guest-login", Access::open, at(loginGuest), {guestDevice, deviceType}),
      post("/api/users/refresh", Access::open, at(refresh), {refreshTokenParameter}),
      post("/api/users/logout", Access::session, at(logout)),
  };
}

}  // namespace zavelo::sandbox

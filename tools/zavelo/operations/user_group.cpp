#include "tools/zavelo/operations/catalogue.hpp"
#include "zavelo/services/user_service.hpp"

namespace zavelo::command {

Group userGroup() {
  using S = ZVUserService;
  return {
      "user",
      "Sign in and out, the session, and the users of the backend",
      {
          operation<&S::currentUser>("Show the session: profile and tokens"),
          operation<&S::isLogin>("Show whether a user is signed in, guest or member"),
          operation<&S::isGuest>("Show whether the session has no profile, or there is no session"),
          operation<&S::setUser>("Store a session and make it the current one", "user"),
          operation<&S::updateUser>("Make a session the current one; store it if it has a profile",
                                    "user"),
          operation<&S::refreshTokenWith>("Replace the current session's tokens", "token"),
          operation<&S::naughtyWords>("List the banned words"),
          operation<&S::saveNaughtyWords>("Replace the banned words", "words"),
          operation<&S::searchForUser>("Find users by their name, page by page", "displayName",
                                       "nextId", "limit"),
          operation<&S::getUserStreams>("List a user's streams, page by page", "userName", "nextId",
                                        "limit"),
          operation<positional(&S::login)>("Sign a member in by password", "zaveloId", "password",
                                           "deviceUdid", "latitude", "longitude"),
          operation<positional(&S::loginZavelo)>("Sign a member of the partner app in, or up",
                                                 "zaveloId", "displayName", "deviceUdid",
                                                 "latitude", "longitude"),
          operation<&S::loginGuest>("Sign this device in as a guest", "deviceUdid"),
          operation<member<S, ZVAPICall<std::shared_ptr<const ZVRefreshToken>>(
                                  const std::string&,
                                  ZVCompletion<std::shared_ptr<const ZVRefreshToken>>)>(
              &S::refreshToken)>("Exchange a refresh token for new tokens", "refreshToken"),
          operation<&S::logoutZavelo>("Sign out; the session ends whatever the backend answers"),
          operation<positional(&S::editProfile)>("Change your profile", "displayName", "dob",
                                                 "gender", "about", "image"),
          operation<&S::updatePromoCode>("Set your promo code", "promoCode",
                                         "promoCodeDescription"),
          operation<positional(&S::registerZavelo)>("Sign up a new member and sign in", "zaveloId",
                                                    "password", "displayName"),
      }};
}

}  // namespace zavelo::command

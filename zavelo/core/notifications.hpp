#pragma once

#include <string_view>

namespace zavelo {

// Notifications about the session, posted on the main queue, without an object.

/// The signed-in user was banned; the session has been ended.
inline constexpr std::string_view ZaveloBanned = "ZaveloBanned";
/// The session was taken over by a sign-in on another device; it has been ended here.
inline constexpr std::string_view ZaveloDidLogInAnotherDevice = "ZaveloDidLogInAnotherDevice";
/// The session could not be renewed with the refresh token; it is ended right after this.
inline constexpr std::string_view ZaveloDidRefreshTokenFailed = "ZaveloDidRefreshTokenFailed";

}  // namespace zavelo

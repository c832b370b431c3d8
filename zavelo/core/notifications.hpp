#pragma once

#include <string_view>

namespace zavelo {

// Notifications about the session, posted on the main queue, without an object. The session has
// been ended, or is being ended, when they arrive.

/// The signed-in user was banned.
inline constexpr std::string_view ZaveloBanned = "ZaveloBanned";
/// The session was taken over by a sign-in on another device.
inline constexpr std::string_view ZaveloDidLogInAnotherDevice = "ZaveloDidLogInAnotherDevice";
/// The session could not be renewed with the refresh token.
inline constexpr std::string_view ZaveloDidRefreshTokenFailed = "ZaveloDidRefreshTokenFailed";

}  // namespace zavelo

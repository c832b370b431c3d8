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
/// The store could not keep a change of the session: `ZVUserService::storeProblem` says why.
inline constexpr std::string_view ZaveloStoreDidFail = "ZaveloStoreDidFail";

// Notifications of real-time messaging, posted on the thread of the messaging engine's callback.

/// Under `message`: a `ZVRTMPeerMessage`.
inline constexpr std::string_view ZaveloDidReceivePeerMessage = "ZaveloDidReceivePeerMessage";
/// Under `message`: a `ZVRTMChannelMessage`.
inline constexpr std::string_view ZaveloDidReceiveChannelMessage = "ZaveloDidReceiveChannelMessage";
/// A member joined a channel, or left it. Under `user`: a `ZVRTMChannelMember`.
inline constexpr std::string_view ZaveloUserDidLeaveChannel = "ZaveloUserDidLeaveChannel";
/// A name for apps; the library posts a member who joins as `ZaveloUserDidLeaveChannel`, too.
inline constexpr std::string_view ZaveloUserDidJoinChannel = "ZaveloUserDidJoinChannel";
/// The same user logged in to messaging elsewhere; this login is over.
inline constexpr std::string_view ZaveloUserDidRemoteLogin = "ZaveloUserDidRemoteLogin";
/// The connection or a channel's changed. Under `status`: a `ZVRTMStatus`.
inline constexpr std::string_view ZaveloRTMStatusDidChange = "ZaveloRTMStatusDidChange";

}  // namespace zavelo

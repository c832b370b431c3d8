#pragma once

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo {

// What the log calls the engine's numbers.

[[nodiscard]] constexpr const char* leaveName(std::int64_t code) {
  switch (code) {
    case rtmCode::success:
      return "Success";
    case rtmCode::failure:
      return "Failure";
    case rtmCode::rejected:
      return "Rejected";
    case rtmCode::notInChannel:
      return "Not In Channel";
    case rtmCode::notInitialized:
      return "Not Initialized";
    case rtmCode::notLoggedIn:
      return "Not Logged In";
    default:
      return "Unknown";
  }
}

[[nodiscard]] constexpr const char* stateName(AgoraRtmConnectionState state) {
  switch (state) {
    case rtmState::disconnected:
      return "Disconnected";
    case rtmState::connecting:
      return "Connecting";
    case rtmState::connected:
      return "Connected";
    case rtmState::reconnecting:
      return "Reconnecting";
    case rtmState::aborted:
      return "Aborted";
    default:
      return "Unknown";
  }
}

[[nodiscard]] constexpr const char* reasonName(AgoraRtmConnectionChangeReason reason) {
  switch (reason) {
    case rtmReason::login:
      return "Login";
    case rtmReason::loginSuccess:
      return "Login Success";
    case rtmReason::loginFailure:
      return "Login Failure";
    case rtmReason::loginTimeout:
      return "Login Timeout";
    case rtmReason::interrupted:
      return "Interrupted";
    case rtmReason::logout:
      return "Logout";
    case rtmReason::bannedByServer:
      return "Banned By Server";
    case rtmReason::remoteLogin:
      return "Remote Login";
    default:
      return "Unknown";
  }
}

}  // namespace zavelo

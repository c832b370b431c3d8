#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo {

/// How messaging is doing: `ZVRTMService::status()`, and `ZaveloRTMStatusDidChange` at each change.
struct ZVRTMStatus {
  using Time = std::chrono::system_clock::time_point;

  /// What was said in a channel from the one to the other may not have arrived here; all else that
  /// others sent successfully has.
  struct Gap {
    Time from, to;
  };
  struct Channel {
    AgoraRtmChannelState state = AgoraRtmChannelState::joining;
    Time since{};              ///< of an interruption, when the connection was last known to work
    std::string problem{};     ///< why it was interrupted or given up, in words
    std::optional<Gap> gap{};  ///< the last one
  };

  /// The login's, as the engine reported them last; 0 before any report.
  AgoraRtmConnectionState state = 0;
  AgoraRtmConnectionChangeReason reason = 0;
  Time since{};
  /// Where the service is, like "mqtt://127.0.0.1:1883", and why it cannot be reached, in words;
  /// empty while it is reached. Not every engine knows.
  std::string address{};
  std::string problem{};
  /// Those that the app has joined and not left.
  std::map<std::string, Channel> channels{};
  /// Texts that were not passed on, as they were too long or no UTF-8.
  std::size_t droppedTexts = 0;
};

/// What messaging has done since its service was made, for an app's metrics. What a crowd's events
/// became on their way to the screen counts `ZVChatBatcher::counters()`.
struct ZVRTMCounters {
  std::uint64_t channelTexts = 0;   ///< received
  std::uint64_t peerTexts = 0;      ///< received
  std::uint64_t reconnects = 0;     ///< of the login, after it was connected before
  std::uint64_t interruptions = 0;  ///< of joined channels
  std::uint64_t givenUp = 0;        ///< channels that the service refused for good
  std::uint64_t droppedTexts = 0;   ///< as in `ZVRTMStatus`

  bool operator==(const ZVRTMCounters&) const = default;
};

}  // namespace zavelo

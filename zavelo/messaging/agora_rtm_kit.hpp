#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo {

// What the library needs of a messaging engine: `zavelo/messaging/engines` has some, and an app may
// bring an adapter to another one. Texts and ids are UTF-8.
//
// Operations may be called from any thread, also from inside a callback, and never call back before
// they return. Each completion is called once, or not at all once its kit is gone.

/// Codes of completions. Engines have more; what is not named here is a failure without a story.
namespace rtmCode {
inline constexpr std::int64_t success = 0;
inline constexpr std::int64_t joinAlreadyJoined = 6;
inline constexpr std::int64_t loginAlreadyLoggedIn = 8;
inline constexpr std::int64_t failure = 1;
inline constexpr std::int64_t rejected = 2;
inline constexpr std::int64_t notInChannel = 3;
inline constexpr std::int64_t notInitialized = 101;
inline constexpr std::int64_t notLoggedIn = 102;
}  // namespace rtmCode

/// A state as the engine's number; others than these are passed on as they are.
using AgoraRtmConnectionState = std::int64_t;
namespace rtmState {
inline constexpr AgoraRtmConnectionState disconnected = 1;
inline constexpr AgoraRtmConnectionState connecting = 2;
inline constexpr AgoraRtmConnectionState connected = 3;
inline constexpr AgoraRtmConnectionState reconnecting = 4;
inline constexpr AgoraRtmConnectionState aborted = 5;
}  // namespace rtmState

/// Why a state changed, as the engine's number.
using AgoraRtmConnectionChangeReason = std::int64_t;
namespace rtmReason {
inline constexpr AgoraRtmConnectionChangeReason login = 1;
inline constexpr AgoraRtmConnectionChangeReason loginSuccess = 2;
inline constexpr AgoraRtmConnectionChangeReason loginFailure = 3;
inline constexpr AgoraRtmConnectionChangeReason loginTimeout = 4;
inline constexpr AgoraRtmConnectionChangeReason interrupted = 5;
inline constexpr AgoraRtmConnectionChangeReason logout = 6;
inline constexpr AgoraRtmConnectionChangeReason bannedByServer = 7;
inline constexpr AgoraRtmConnectionChangeReason remoteLogin = 8;
}  // namespace rtmReason

using AgoraRtmCompletion = std::function<void(std::int64_t code)>;
/// The members' user ids, or none when they could not be had.
using AgoraRtmMembersCompletion = std::function<void(std::optional<std::vector<std::string>>)>;

/// Hears about a channel, on the engine's callback thread.
class AgoraRtmChannelDelegate {
 public:
  virtual ~AgoraRtmChannelDelegate() = default;
  virtual void memberJoined(const std::string& channelId, const std::string& userId) = 0;
  virtual void memberLeft(const std::string& channelId, const std::string& userId) = 0;
  /// Never one's own messages.
  virtual void channelMessageReceived(const std::string& channelId, const std::string& text,
                                      const std::string& userId) = 0;
};

/// Hears about a kit's connection, on the engine's callback thread.
class AgoraRtmDelegate {
 public:
  virtual ~AgoraRtmDelegate() = default;
  virtual void connectionStateChanged(AgoraRtmConnectionState state,
                                      AgoraRtmConnectionChangeReason reason) = 0;
  virtual void peerMessageReceived(const std::string& text, const std::string& peerId) = 0;
  virtual void tokenDidExpire() = 0;
};

class AgoraRtmChannel {
 public:
  virtual ~AgoraRtmChannel() = default;
  virtual void join(AgoraRtmCompletion completion) = 0;
  virtual void leave(AgoraRtmCompletion completion) = 0;
  virtual void send(const std::string& text, AgoraRtmCompletion completion) = 0;
  virtual void getMembers(AgoraRtmMembersCompletion completion) = 0;
};

class AgoraRtmKit {
 public:
  using Channels = std::map<std::string, std::shared_ptr<AgoraRtmChannel>, std::less<>>;

  virtual ~AgoraRtmKit() = default;
  virtual void login(const std::optional<std::string>& token, const std::string& userId,
                     AgoraRtmCompletion completion) = 0;
  /// `completion` may be empty.
  virtual void logout(AgoraRtmCompletion completion) = 0;
  virtual void send(const std::string& text, const std::string& peerId,
                    AgoraRtmCompletion completion) = 0;
  /// The one that was created before, if it was. Null when the engine takes no such id.
  virtual std::shared_ptr<AgoraRtmChannel> createChannel(
      const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) = 0;
  virtual bool destroyChannel(const std::string& channelId) = 0;
  /// The channels that were created and not destroyed; none when they cannot be read.
  [[nodiscard]] virtual std::optional<Channels> channels() const = 0;
};

/// Makes the kit of an app, which tells the delegate what happens. Null when there can be none.
using AgoraRtmKitFactory = std::function<std::shared_ptr<AgoraRtmKit>(
    const std::string& appId, std::weak_ptr<AgoraRtmDelegate> delegate)>;

}  // namespace zavelo

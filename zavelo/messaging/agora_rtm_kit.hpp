#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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

/// What became of a joined channel's connection.
enum class AgoraRtmChannelState {
  joining,
  joined,
  interrupted,  ///< the engine is restoring it; meanwhile no text arrives
  resumed,      ///< joined again: what was sent since the interruption was missed
  givenUp,      ///< not joined any more: the service refuses for good
};

/// Hears about a kit's connection, on the engine's callback thread.
class AgoraRtmDelegate {
 public:
  virtual ~AgoraRtmDelegate() = default;
  virtual void connectionStateChanged(AgoraRtmConnectionState state,
                                      AgoraRtmConnectionChangeReason reason) = 0;
  virtual void peerMessageReceived(const std::string& text, const std::string& peerId) = 0;
  virtual void tokenDidExpire() = 0;

  // What not every engine reports.

  /// Where the service is, and why it cannot be reached, in words; an empty problem: none is known.
  virtual void connectionProblemChanged(const std::string& /*address*/,
                                        const std::string& /*problem*/) {}
  /// A joined channel was interrupted, resumed or given up. `silence`: of an interruption, how long
  /// before now the connection was last known to work.
  virtual void channelStateChanged(const std::string& /*channelId*/, AgoraRtmChannelState /*state*/,
                                   const std::string& /*problem*/,
                                   std::chrono::milliseconds /*silence*/) {}
  /// A text was too long or no UTF-8 and is not passed on. Without a channel it was for this user.
  virtual void textDropped(const std::string& /*channelId*/) {}
};

struct AgoraRtmJoinOptions {
  /// Without presence the other members do not see this one, and no member events come; a viewer
  /// who needs neither costs a channel of thousands nothing.
  bool presence = true;
};

/// How many members a channel has: `estimate`, give or take `error` in 19 of 20 cases; exact when
/// that is 0.
struct AgoraRtmMemberCount {
  std::size_t estimate = 0;
  std::size_t error = 0;
};
using AgoraRtmCountCompletion = std::function<void(std::optional<AgoraRtmMemberCount>)>;

class AgoraRtmChannel {
 public:
  virtual ~AgoraRtmChannel() = default;
  virtual void join(AgoraRtmCompletion completion) = 0;
  virtual void leave(AgoraRtmCompletion completion) = 0;
  virtual void send(const std::string& text, AgoraRtmCompletion completion) = 0;
  virtual void getMembers(AgoraRtmMembersCompletion completion) = 0;

  // What not every engine can do better than so.

  virtual void joinWithOptions(const AgoraRtmJoinOptions& /*options*/,
                               AgoraRtmCompletion completion) {
    join(std::move(completion));
  }
  virtual void countMembers(AgoraRtmCountCompletion completion) {
    getMembers([completion = std::move(completion)](const auto& members) {
      completion(members ? std::optional(AgoraRtmMemberCount{members->size()}) : std::nullopt);
    });
  }
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

  // What a phone tells its apps. Engines without a network have nothing to do.

  /// Closes the connections quietly and keeps the login and the channels for `resume`.
  virtual void suspend() {}
  virtual void resume() {}
  /// The device is in another network: connections are probed and made now, not after a time-out.
  virtual void networkChanged() {}
  /// In the background fewer signs of life are sent.
  virtual void setInBackground(bool /*isInBackground*/) {}
};

/// Makes the kit of an app, which tells the delegate what happens. Null when there can be none.
using AgoraRtmKitFactory = std::function<std::shared_ptr<AgoraRtmKit>(
    const std::string& appId, std::weak_ptr<AgoraRtmDelegate> delegate)>;

}  // namespace zavelo

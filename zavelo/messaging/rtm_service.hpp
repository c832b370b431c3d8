#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/messaging/rtm_client.hpp"

namespace zavelo {

/// A text that came from one user: `ZaveloDidReceivePeerMessage`.
struct ZVRTMPeerMessage {
  std::string peerId = {};
  std::string message = {};

  bool operator==(const ZVRTMPeerMessage&) const = default;
};

/// A text that came in a channel: `ZaveloDidReceiveChannelMessage`.
struct ZVRTMChannelMessage {
  std::string channelId = {};
  std::string message = {};
  /// The user who sent it, for whom the engine vouches; what the message says of itself anybody can
  /// write (`ZVStreamMessage::isFrom`).
  std::string senderId{};

  bool operator==(const ZVRTMChannelMessage&) const = default;
};

/// Who joined or left a channel: `ZaveloUserDidLeaveChannel`, for both.
struct ZVRTMChannelMember {
  std::string channelId = {};
  std::string userId = {};

  bool operator==(const ZVRTMChannelMember&) const = default;
};

/// A messaging call: to be cancelled, and with `awaitable` for a completion to be awaited.
template <class T>
using ZVRTMCall = AwaitableCall<Result<T, ZVError>>;

/// The connection, for an app that wants to name no more than that.
class ZVSocketProtocol {
 public:
  virtual ~ZVSocketProtocol() = default;
  virtual void connect(ZVRTMClient::Success success = {}) = 0;
  virtual void disconnect() = 0;
  [[nodiscard]] virtual bool isConnected() const = 0;
};

/// The channels, for an app that wants to name no more than that.
class ZVRTMChannelProtocol {
 public:
  virtual ~ZVRTMChannelProtocol() = default;
  virtual void joinChannel(const std::string& channelId, ZVRTMClient::Success success = {},
                           ZVRTMClient::Fail fail = {}) = 0;
  virtual void leaveChannel(const std::string& channelId, bool shouldDestroyChannel) = 0;
  virtual void writeChannel(const std::string& channelId, const std::string& message,
                            ZVRTMClient::Success success = {}, ZVRTMClient::Fail fail = {}) = 0;
  virtual void getMembersOfChannel(const std::string& channel, ZVRTMClient::Members success) = 0;
};

/// Real-time messaging as an app uses it: connect, join a stream's channel, write a `ZVMessage`'s
/// text, and hear what comes in by notifications.
///
/// Any thread. Callbacks and notifications come on the messaging engine's thread, not on the main
/// queue; once the service is gone they do not come.
class ZAVELO_EXPORT ZVRTMService final : public ZVRTMClientDelegate,
                                         public ZVSocketProtocol,
                                         public ZVRTMChannelProtocol {
 public:
  using Success = ZVRTMClient::Success;
  using Fail = ZVRTMClient::Fail;
  using Members = ZVRTMClient::Members;

  [[nodiscard]] static std::shared_ptr<ZVRTMService> create(
      ZVRTMClient::Collaborators collaborators);
  [[nodiscard]] static const std::shared_ptr<ZVRTMService>& shared();

  /// Logs the current user in; an attempt that fails is repeated every 5 seconds.
  void connect(Success success = {}) override;
  void disconnect() override;
  [[nodiscard]] bool isConnected() const override;

  void joinChannel(const std::string& channelId, Success success = {}, Fail fail = {}) override;
  /// Nothing happens for a channel that was never joined.
  void leaveChannel(const std::string& channelId, bool shouldDestroyChannel) override;
  /// To everybody in a joined channel but oneself. Nothing is called back for another channel.
  void writeChannel(const std::string& channelId, const std::string& message, Success success = {},
                    Fail fail = {}) override;
  /// To one user.
  void write(const std::string& message, const std::string& peerId, Success success = {},
             Fail fail = {});
  void getMembersOfChannel(const std::string& channel, Members success) override;

  /// The same with options, like taking part without being listed.
  void joinChannel(const std::string& channelId, const AgoraRtmJoinOptions& options,
                   Success success = {}, Fail fail = {});

  // Whose completion is answered in every case, once, on the main queue: also for a channel that is
  // not joined, or where no user is signed in. They can be cancelled, which takes back neither a
  // login nor a join.

  template <class T>
  using Completion = ZVRTMClient::Completion<T>;

  ZVRTMCall<std::monostate> connect(Completion<std::monostate> completion);
  ZVRTMCall<std::monostate> joinChannel(const std::string& channelId,
                                        Completion<std::monostate> completion);
  ZVRTMCall<std::monostate> joinChannel(const std::string& channelId,
                                        const AgoraRtmJoinOptions& options,
                                        Completion<std::monostate> completion);
  ZVRTMCall<std::monostate> writeChannel(const std::string& channelId, const std::string& message,
                                         Completion<std::monostate> completion);
  ZVRTMCall<std::monostate> write(const std::string& message, const std::string& peerId,
                                  Completion<std::monostate> completion);
  /// `completion` is `awaitable`, or a function whose parameter's type is written, as in
  /// `[](Result<std::vector<std::string>, ZVError>)`: one of `auto` is taken for a `Members`.
  template <class F>
  requires(Takes<F, Result<std::vector<std::string>, ZVError>> || std::is_same_v<F, Awaitable>)
      ZVRTMCall<std::vector<std::string>> getMembersOfChannel(const std::string& channel,
                                                              F completion) {
    return listMembers(channel, std::move(completion));
  }
  /// How many are in a channel, without a list of them.
  ZVRTMCall<AgoraRtmMemberCount> countMembersOfChannel(const std::string& channel,
                                                       Completion<AgoraRtmMemberCount> completion);

  /// How messaging is doing now; `ZaveloRTMStatusDidChange` is posted at each change.
  [[nodiscard]] ZVRTMStatus status() const { return rtmClient_->status(); }

  [[nodiscard]] ZVRTMCounters counters() const;

  // What the device tells the app.

  /// The app will not run for a while: it leaves its channels quietly, until `resume`.
  void suspend() { rtmClient_->suspend(); }
  void resume() { rtmClient_->resume(); }
  /// The device has changed its network: dead connections are found out now.
  void networkChanged() { rtmClient_->networkChanged(); }
  void setInBackground(bool isInBackground) { rtmClient_->setInBackground(isInBackground); }

  // What the client reports.
  void didReceiveChannelMessage(const std::string& channelId, const std::string& text) override;
  void didReceiveChannelMessageFrom(const std::string& senderId, const std::string& channelId,
                                    const std::string& text) override;
  void didReceivePeerMessage(const std::string& peerId, const std::string& text) override;
  void memberJoined(const std::string& channelId, const std::string& userId) override;
  void memberLeft(const std::string& channelId, const std::string& userId) override;
  void statusChanged(const ZVRTMStatus& status) override;

 private:
  explicit ZVRTMService(ZVRTMClient::Collaborators collaborators);
  /// A call that is answered by the callbacks that `begin` is given.
  template <class Begin>
  ZVRTMCall<std::monostate> callbackCall(Completion<std::monostate> completion, Begin begin);
  ZVRTMCall<std::vector<std::string>> listMembers(const std::string& channel,
                                                  Completion<std::vector<std::string>> completion);
  void count(const ZVRTMStatus& status);

  const std::shared_ptr<Queue> mainQueue_;
  const std::shared_ptr<NotificationCentre> notifications_;
  const std::shared_ptr<ZVRTMClient> rtmClient_;

  mutable std::mutex countersMutex_;  // guards what follows
  ZVRTMCounters counters_;
  bool wasConnected_ = false;
  ZVRTMStatus last_;
};

}  // namespace zavelo

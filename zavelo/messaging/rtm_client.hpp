#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/core/error.hpp"
#include "zavelo/messaging/after_worker.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/retry_options.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/notification_centre.hpp"

namespace zavelo {

/// Receives what comes in, on the engine's callback thread.
class ZVRTMClientDelegate {
 public:
  virtual ~ZVRTMClientDelegate() = default;
  virtual void didReceiveChannelMessage(const std::string& channelId, const std::string& text) = 0;
  virtual void didReceivePeerMessage(const std::string& peerId, const std::string& text) = 0;
  virtual void memberJoined(const std::string& channelId, const std::string& userId) = 0;
  virtual void memberLeft(const std::string& channelId, const std::string& userId) = 0;
};

/// The one object that talks to the messaging engine: it logs the current user in and again after a
/// break, sends, joins and leaves, and passes on what comes in.
///
/// Any thread. Callbacks may be empty and run on the engine's callback thread; once the client is
/// gone they do not run. Failures are `ZVError`s of type `rtm`, logged as errors as well.
class ZAVELO_EXPORT ZVRTMClient final : public AgoraRtmDelegate,
                                        public AgoraRtmChannelDelegate,
                                        public std::enable_shared_from_this<ZVRTMClient> {
 public:
  using Success = std::function<void()>;
  using Fail = std::function<void(const ZVError&)>;
  using Members = std::function<void(std::vector<std::string>)>;

  struct Collaborators {
    AgoraRtmKitFactory makeKit;
    const ZVCurrentUserSource* users;  ///< outlives the client
    std::shared_ptr<Queue> mainQueue;
    std::shared_ptr<NotificationCentre> notifications;
    std::shared_ptr<const Clock> clock;
  };

  [[nodiscard]] static std::shared_ptr<ZVRTMClient> create(Collaborators collaborators);

  void setDelegate(std::weak_ptr<ZVRTMClientDelegate> delegate);
  /// The last state that the engine reported; 0 before any.
  [[nodiscard]] AgoraRtmConnectionState connectStatus() const;

  /// Logs the current user in: a member by the profile's id, a guest by the guest's. With neither
  /// nothing happens. A failed attempt is repeated as the policy says, on the main queue; another
  /// login takes the place of an attempt that waits.
  void login(Success success, ZVRetryPolicy retryPolicy);
  void logout();

  void joinChannel(const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate,
                   Success success, Fail fail);
  /// Nothing happens for a channel that was never joined.
  void leaveChannel(const std::string& channelId, bool shouldDestroy);
  void send(const std::string& message, const std::string& peerId, Success success, Fail fail);
  /// To a channel that was never joined nothing is sent; the log says so, and no callback runs.
  void writeChannel(const std::string& channelId, const std::string& message, Success success,
                    Fail fail);
  /// The user ids, in the engine's order. No callback where they cannot be had.
  void getMembersOfChannel(const std::string& channelId, Members success);

  // What the engine reports.
  void connectionStateChanged(AgoraRtmConnectionState state,
                              AgoraRtmConnectionChangeReason reason) override;
  void peerMessageReceived(const std::string& text, const std::string& peerId) override;
  void tokenDidExpire() override;
  void memberJoined(const std::string& channelId, const std::string& userId) override;
  void memberLeft(const std::string& channelId, const std::string& userId) override;
  void channelMessageReceived(const std::string& channelId, const std::string& text,
                              const std::string& userId) override;

 private:
  explicit ZVRTMClient(Collaborators collaborators) : with_(std::move(collaborators)) {}

  std::shared_ptr<AgoraRtmKit> kit();
  std::int64_t loginWorkerId();
  ZVAfterWorker& afterWorker(std::int64_t id);
  std::shared_ptr<ZVRTMClientDelegate> delegate() const;
  void login(const std::string& userId, const Success& success, const Fail& fail);
  Result<std::shared_ptr<AgoraRtmChannel>, ZVError> channel(const std::string& channelId);

  const Collaborators with_;
  std::once_flag kitOnce_;
  std::shared_ptr<AgoraRtmKit> kit_;
  mutable std::mutex mutex_;  // guards what follows
  std::map<std::int64_t, ZVAfterWorker> afterWorkers_;
  std::optional<std::int64_t> loginWorkerId_;
  AgoraRtmConnectionState connectStatus_ = 0;
  std::weak_ptr<ZVRTMClientDelegate> delegate_;
};

}  // namespace zavelo

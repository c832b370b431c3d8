#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/base/unique_function.hpp"
#include "zavelo/core/error.hpp"
#include "zavelo/messaging/after_worker.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/result_completion.hpp"
#include "zavelo/messaging/retry_options.hpp"
#include "zavelo/messaging/rtm_status.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/notification_centre.hpp"

namespace zavelo {

/// Receives what comes in, on the engine's callback thread.
class ZVRTMClientDelegate {
 public:
  virtual ~ZVRTMClientDelegate() = default;
  virtual void didReceiveChannelMessage(const std::string& channelId, const std::string& text) = 0;
  /// The same with the user who sent it, for whom the engine vouches. This is what is called.
  virtual void didReceiveChannelMessageFrom(const std::string& /*senderId*/,
                                            const std::string& channelId, const std::string& text) {
    didReceiveChannelMessage(channelId, text);
  }
  virtual void didReceivePeerMessage(const std::string& peerId, const std::string& text) = 0;
  virtual void memberJoined(const std::string& channelId, const std::string& userId) = 0;
  virtual void memberLeft(const std::string& channelId, const std::string& userId) = 0;
  virtual void statusChanged(const ZVRTMStatus& /*status*/) {}
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
  using Success = SharedFunction<void()>;
  using Fail = SharedFunction<void(const ZVError&)>;
  using Members = SharedFunction<void(std::vector<std::string>)>;
  /// Answered once, on the main queue; also when the call is cancelled, or the client is gone.
  template <class T>
  using Completion = CallCompletion<Result<T, ZVError>>;

  struct Collaborators {
    AgoraRtmKitFactory makeKit = {};
    const ZVCurrentUserSource* users = nullptr;  ///< outlives the client
    std::shared_ptr<Queue> mainQueue = {};
    std::shared_ptr<NotificationCentre> notifications = {};
    std::shared_ptr<const Clock> clock = {};
  };

  [[nodiscard]] static std::shared_ptr<ZVRTMClient> create(Collaborators collaborators);

  void setDelegate(std::weak_ptr<ZVRTMClientDelegate> delegate);
  /// The last state that the engine reported; 0 before any.
  [[nodiscard]] AgoraRtmConnectionState connectStatus() const;
  [[nodiscard]] ZVRTMStatus status() const;

  /// Logs the current user in: a member by the profile's id, a guest by the guest's. With neither
  /// nothing happens. A failed attempt is repeated as the policy says, on the main queue; `success`
  /// is called by whichever attempt succeeds, also one that a lost connection starts. Another login
  /// takes the place of an attempt that waits.
  void login(Success success, ZVRetryPolicy retryPolicy);
  void logout();

  void joinChannel(const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate,
                   Success success, Fail fail, const AgoraRtmJoinOptions& options = {});
  /// Nothing happens for a channel that was never joined.
  void leaveChannel(const std::string& channelId, bool shouldDestroy);
  void send(const std::string& message, const std::string& peerId, Success success, Fail fail);
  /// To a channel that was never joined nothing is sent; the log says so, and no callback runs.
  void writeChannel(const std::string& channelId, const std::string& message, Success success,
                    Fail fail);
  /// The user ids, in the engine's order. No callback where they cannot be had.
  void getMembersOfChannel(const std::string& channelId, Members success);

  // The same with an answer in every case.

  template <class F>
  requires(!std::is_invocable_v<F&> &&
           std::is_constructible_v<Completion<std::monostate>, F>) ZVCall
      writeChannel(const std::string& channelId, const std::string& message, F completion) {
    return write(channelId, message, std::move(completion));
  }
  /// The parameter's type is to be written: a function of `auto` is taken for a `Members`.
  template <Takes<Result<std::vector<std::string>, ZVError>> F>
  ZVCall getMembersOfChannel(const std::string& channelId, F completion) {
    return listMembers(channelId, std::move(completion));
  }
  ZVCall countMembersOfChannel(const std::string& channelId,
                               Completion<AgoraRtmMemberCount> completion);

  // What the device tells the app.

  /// The app will not run for a while: leaves its channels quietly, and comes back with `resume`.
  void suspend() { kit()->suspend(); }
  void resume() { kit()->resume(); }
  void networkChanged() { kit()->networkChanged(); }
  void setInBackground(bool isInBackground) { kit()->setInBackground(isInBackground); }

  // What the engine reports.
  void connectionStateChanged(AgoraRtmConnectionState state,
                              AgoraRtmConnectionChangeReason reason) override;
  void peerMessageReceived(const std::string& text, const std::string& peerId) override;
  void tokenDidExpire() override;
  void connectionProblemChanged(const std::string& address, const std::string& problem) override;
  void channelStateChanged(const std::string& channelId, AgoraRtmChannelState state,
                           const std::string& problem, std::chrono::milliseconds silence) override;
  void textDropped(const std::string& channelId) override;
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
  void attempt(Success success, ZVRetryPolicy retryPolicy, std::uint64_t number);
  void login(const std::string& userId, const Success& success, const Fail& fail);
  /// Replaces the success that waits for a login; returns the one that did.
  Success exchangeWaiting(Success success, std::optional<std::uint64_t> number = {});
  /// Changes the status as `change` says, and tells the delegate when it says that it did.
  void changeStatus(const std::function<bool(ZVRTMStatus&)>& change);
  ZVCall write(const std::string& channelId, const std::string& message,
               Completion<std::monostate> completion);
  ZVCall listMembers(const std::string& channelId, Completion<std::vector<std::string>> completion);
  void noteJoin(const std::string& channelId, bool isJoined);
  Result<std::shared_ptr<AgoraRtmChannel>, ZVError> channel(const std::string& channelId);

  const Collaborators with_;
  std::once_flag kitOnce_;
  std::shared_ptr<AgoraRtmKit> kit_;
  mutable std::mutex mutex_;  // guards what follows
  std::map<std::int64_t, ZVAfterWorker> afterWorkers_;
  std::optional<std::int64_t> loginWorkerId_;
  Success waiting_;                ///< for whichever login succeeds
  std::uint64_t loginNumber_ = 0;  ///< of the app's last login
  ZVRTMStatus status_;
  std::weak_ptr<ZVRTMClientDelegate> delegate_;
};

}  // namespace zavelo

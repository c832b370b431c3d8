#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/platform/notification_centre.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo::command {

/// One stay of the current user in a channel: log in, join, talk, leave, log out. Lives on its
/// queue, where everything is called back.
class ChannelVisit : public std::enable_shared_from_this<ChannelVisit> {
 public:
  struct Collaborators {
    std::shared_ptr<ZVRTMService> service;
    std::shared_ptr<NotificationCentre> notifications;
    std::shared_ptr<Queue> queue;
  };
  /// What comes in once the channel is joined; may be empty.
  struct Heard {
    std::function<void(const std::string& text, const std::string& senderId)> message;
    std::function<void()> membersChanged;  ///< somebody came or went
    std::function<void()> remoteLogin;     ///< the visit is over: the user logged in elsewhere
    /// Why the service cannot be reached, before the channel is joined; once for each reason.
    std::function<void(const std::string& problem)> problem{};
    /// The channel was interrupted, or has been resumed.
    std::function<void(const ZVRTMStatus::Channel&)> channel{};
  };
  /// Absent: it worked. Else one sentence.
  using Outcome = std::function<void(std::optional<std::string> failure)>;

  [[nodiscard]] static std::shared_ptr<ChannelVisit> create(Collaborators with,
                                                            std::string channel);

  /// Without an answer for 15 seconds it fails, unless the visit is to wait for as long as it
  /// takes.
  enum class Patience { limited, unlimited };
  void enter(Heard heard, Outcome entered, Patience howLong = Patience::limited);
  void send(const std::string& text, Outcome sent);
  /// Not called when the engine cannot tell.
  void members(std::function<void(std::vector<std::string>)> told);
  /// Leaves the channel and logs out; nothing is heard from now on.
  void leave(std::function<void()> left);

  [[nodiscard]] const std::string& channel() const { return channel_; }
  [[nodiscard]] bool isConnected() const { return with_.service->isConnected(); }

 private:
  ChannelVisit(Collaborators with, std::string channel);

  void hear(Heard heard);
  void join();
  void answer(std::optional<std::string> failure);
  void hearStatus(const ZVRTMStatus& status);
  void sayNoAnswer();
  using Step = std::function<void(ChannelVisit&)>;
  void post(Step step);
  /// Posts, from any thread, as long as the visit lives.
  [[nodiscard]] std::function<void(Step)> steps();
  void waitForLogout(int looks, std::function<void()> left);

  const Collaborators with_;
  const std::string channel_;
  Heard heard_;
  Outcome entered_;
  std::string problem_;  // as last told
  AgoraRtmChannelState state_ = AgoraRtmChannelState::joining;
  std::vector<ObserverToken> observers_;
};

}  // namespace zavelo::command

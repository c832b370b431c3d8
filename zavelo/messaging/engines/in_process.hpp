#pragma once

#include <memory>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/messaging/agora_rtm_kit.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

namespace detail {
class InProcessSessions;
}

/// A messaging engine without a network: the kits of one hub hear each other, each with a user of
/// its own. For an app's tests, and for an app that has chosen no engine.
///
///     auto hub = InProcessHub::create();
///     auto ann = ZVRTMService::create({hub->kitFactory(), …});
///     auto bob = ZVRTMService::create({hub->kitFactory(), …});
///
/// Everything happens in the order in which it was asked for, on the hub's callback queue. Kits of
/// different app ids do not hear each other. A user who logs in with a second kit takes the first
/// one's place, which ends with state 5 and reason 8. Codes are those of `rtmCode`; a peer who is
/// not logged in is a `failure`.
class ZAVELO_EXPORT InProcessHub final : public std::enable_shared_from_this<InProcessHub> {
 public:
  /// Without a queue the hub has a thread of its own.
  [[nodiscard]] static std::shared_ptr<InProcessHub> create(
      std::shared_ptr<Queue> callbackQueue = nullptr);
  /// The hub of apps that have chosen no engine.
  [[nodiscard]] static const std::shared_ptr<InProcessHub>& shared();
  ~InProcessHub();

  [[nodiscard]] AgoraRtmKitFactory kitFactory();

 private:
  class Kit;
  class Channel;

  explicit InProcessHub(std::shared_ptr<Queue> callbackQueue);

  const std::shared_ptr<Queue> queue_;
  const std::shared_ptr<detail::InProcessSessions> sessions_;
};

}  // namespace zavelo

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "zavelo/base/export.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/messaging/rtm_service.hpp"
#include "zavelo/messaging/stream_message.hpp"
#include "zavelo/platform/notification_centre.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo {

/// Which notification brings a T, and under which key.
template <class T>
struct ZVNotificationOf;
template <>
struct ZVNotificationOf<ZVRTMChannelMessage> {
  static constexpr std::string_view name = ZaveloDidReceiveChannelMessage, key = "message";
};
template <>
struct ZVNotificationOf<ZVRTMPeerMessage> {
  static constexpr std::string_view name = ZaveloDidReceivePeerMessage, key = "message";
};
template <>
struct ZVNotificationOf<ZVRTMChannelMember> {
  static constexpr std::string_view name = ZaveloUserDidLeaveChannel, key = "user";
};
template <>
struct ZVNotificationOf<ZVRTMStatus> {
  static constexpr std::string_view name = ZaveloRTMStatusDidChange, key = "status";
};

/// Calls `f` on the queue with each T that messaging posts, until the token is reset:
///
///     token_ = observe<ZVRTMStatus>(MainQueue::shared(), [this](const ZVRTMStatus& status) {
///       showConnection(status);
///     });
///
/// A token that is reset on that queue is the last of it: `f` is not called any more.
template <class T, class F>
[[nodiscard]] ObserverToken observe(NotificationCentre& centre, const std::shared_ptr<Queue>& queue,
                                    F f) {
  return centre.addObserver(
      ZVNotificationOf<T>::name, queue,
      [shared = std::make_shared<F>(std::move(f))](const Notification& posted) -> QueueTask {
        const auto* value = posted.info<T>(ZVNotificationOf<T>::key);
        if (!value) return {};
        return [shared, copy = *value] { (*shared)(copy); };
      });
}
template <class T, class F>
[[nodiscard]] ObserverToken observe(const std::shared_ptr<Queue>& queue, F f) {
  return observe<T>(*platform::notifications(), queue, std::move(f));
}

/// An event that came in a channel.
struct ZVChannelEvent {
  std::string channelId = {};
  std::string senderId = {};  ///< the user who sent it, for whom the engine vouches
  std::int64_t type = 0;      ///< of `ZVMessageType`, or a newer kind
  /// Of the class that goes with `type`; never null.
  std::shared_ptr<const ZVStreamMessage> event = {};

  [[nodiscard]] bool is(ZVMessageType kind) const noexcept { return type == rawValue(kind); }

  /// Absent when the text is no event.
  [[nodiscard]] ZAVELO_EXPORT static std::optional<ZVChannelEvent> decode(
      const ZVRTMChannelMessage& message);
};

/// Calls `f` on the queue with each event of a channel (an empty id: of every channel), decoded on
/// the messaging engine's thread, until the token is reset. What is no event is left out.
///
///     token_ = onChannelEvent(slug, MainQueue::shared(), [this](const ZVChannelEvent& event) {
///       visit(event, overloaded{[&](const ZVGiftMessage& gift) { animate(gift); },
///                               [&](const ZVStreamMessage& line) { append(line); }});
///     });
template <class F>
[[nodiscard]] ObserverToken onChannelEvent(NotificationCentre& centre, std::string channelId,
                                           const std::shared_ptr<Queue>& queue, F f) {
  return centre.addObserver(
      ZaveloDidReceiveChannelMessage, queue,
      [channelId = std::move(channelId),
       shared = std::make_shared<F>(std::move(f))](const Notification& posted) -> QueueTask {
        const auto* message = posted.info<ZVRTMChannelMessage>("message");
        if (!message || (!channelId.empty() && message->channelId != channelId)) return {};
        auto event = ZVChannelEvent::decode(*message);
        if (!event) return {};
        return [shared, event = std::move(*event)] { (*shared)(event); };
      });
}
template <class F>
[[nodiscard]] ObserverToken onChannelEvent(std::string channelId,
                                           const std::shared_ptr<Queue>& queue, F f) {
  return onChannelEvent(*platform::notifications(), std::move(channelId), queue, std::move(f));
}

/// Several lambdas as one visitor.
template <class... F>
struct overloaded : F... {
  using F::operator()...;
};
template <class... F>
overloaded(F...) -> overloaded<F...>;

/// Calls the visitor with the event as the class that it is: `ZVGiftMessage`, `ZVPollMessage`,
/// `ZVStatisticMessage`, `ZVFloatingTextMessage` or else `ZVStreamMessage`, which also takes those
/// that the visitor does not name. An event that the visitor takes in no form is left alone.
template <class Visitor>
void visit(const ZVStreamMessage& event, Visitor&& visitor) {
  const auto isVisited = [&]<class Event>(std::type_identity<Event>) {
    const auto* as = dynamic_cast<const Event*>(&event);
    if constexpr (std::is_invocable_v<Visitor&, const Event&>)
      if (as) visitor(*as);
    return as != nullptr;
  };
  (void)(isVisited(std::type_identity<ZVGiftMessage>()) ||
         isVisited(std::type_identity<ZVPollMessage>()) ||
         isVisited(std::type_identity<ZVStatisticMessage>()) ||
         isVisited(std::type_identity<ZVFloatingTextMessage>()) ||
         isVisited(std::type_identity<ZVStreamMessage>()));
}
template <class Visitor>
void visit(const ZVChannelEvent& event, Visitor&& visitor) {
  visit(*event.event, std::forward<Visitor>(visitor));
}

}  // namespace zavelo

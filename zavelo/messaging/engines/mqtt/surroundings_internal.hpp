#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"
#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"

namespace zavelo::detail {

/// Whom a kit serves, and by what: the same for its login and its channels. What is not const is
/// for the loop's thread.
struct MqttSurroundings {
  MqttSurroundings(MqttEngineOptions theOptions, std::vector<MqttBroker> theBrokers,
                   std::string theAppId, std::shared_ptr<MqttLoop> theLoop,
                   std::shared_ptr<MqttResolver> theResolver,
                   std::weak_ptr<AgoraRtmDelegate> theDelegate);

  [[nodiscard]] MqttPlan planFor(const std::string& userId,
                                 const std::optional<std::string>& loginToken,
                                 std::string willTopic);
  /// While the app is in the background its connections say less often that they are there.
  [[nodiscard]] std::chrono::milliseconds pingInterval() const;
  /// Reports why there is no connection, once for each reason. The next broker is tried after one
  /// that let nobody in.
  void noteLoss(const MqttLoss& loss);
  void noteConnected(const std::string& address);
  /// Whether a text that came in may be passed on: it is not one that the broker had retained, not
  /// too long, and UTF-8.
  bool accepts(const MqttMessage& text, bool isCut, const std::string& channelId);

  template <class Call, class... Arguments>
  void tell(const Call& call, Arguments&&... arguments) const {
    if (call && !isGone) call(std::forward<Arguments>(arguments)...);
  }
  template <class... Parameters, class... Arguments>
  void tellDelegate(void (AgoraRtmDelegate::*what)(Parameters...), Arguments&&... arguments) const {
    const auto hearing = isGone ? nullptr : delegate.lock();
    if (hearing) ((*hearing).*what)(std::forward<Arguments>(arguments)...);
  }

  const MqttEngineOptions options;
  const std::vector<MqttBroker> brokers;
  const std::string appId;
  const std::shared_ptr<MqttLoop> loop;
  const std::shared_ptr<MqttResolver> resolver;
  const std::weak_ptr<AgoraRtmDelegate> delegate;
  /// Set when the kit goes: nobody hears anything from then on.
  std::atomic<bool> isGone = false;

  bool isInBackground = false;

 private:
  void report(const std::string& address, const std::string& problem);

  std::size_t broker_;  // that is tried
  std::shared_ptr<MqttTrust> trust_;
  std::string address_, problem_;  // as last reported
};

}  // namespace zavelo::detail

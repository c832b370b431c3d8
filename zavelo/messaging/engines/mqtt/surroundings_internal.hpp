#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"
#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"

namespace zavelo::detail {

struct MqttBroker {
  std::string host;
  std::uint16_t port;
  bool tls;
};

/// Whom a kit serves, and by what: the same for its login and its channels.
struct MqttSurroundings {
  MqttSurroundings(MqttEngineOptions theOptions, MqttBroker theBroker, std::string theAppId,
                   std::shared_ptr<MqttLoop> theLoop)
      : options(std::move(theOptions)),
        broker(std::move(theBroker)),
        appId(std::move(theAppId)),
        loop(std::move(theLoop)) {}

  [[nodiscard]] MqttPlan planFor(const std::string& userId,
                                 const std::optional<std::string>& loginToken,
                                 std::string willTopic) const;

  const MqttEngineOptions options;
  const MqttBroker broker;
  const std::string appId;
  const std::shared_ptr<MqttLoop> loop;
  /// Set when the kit goes: nobody hears anything from then on.
  std::atomic<bool> isGone = false;

  template <class Call, class... Arguments>
  void tell(const Call& call, Arguments&&... arguments) const {
    if (call && !isGone) call(std::forward<Arguments>(arguments)...);
  }
};

}  // namespace zavelo::detail

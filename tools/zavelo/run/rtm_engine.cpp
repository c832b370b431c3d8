#include "tools/zavelo/run/rtm_engine.hpp"

#include "zavelo/messaging/engines/mqtt.hpp"

namespace zavelo::command {

Result<AgoraRtmKitFactory, std::string> rtmEngine(const std::string& address) {
  if (address.empty())
    return Failure{std::string("missing; where chat travels, like mqtt://127.0.0.1:1883")};
  return mqttEngine({.address = address});
}

}  // namespace zavelo::command

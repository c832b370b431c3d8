#include "tools/zavelo/run/rtm_engine.hpp"

#include <cstdlib>
#include <utility>

#include "zavelo/messaging/engines/mqtt.hpp"

namespace zavelo::command {

Result<AgoraRtmKitFactory, std::string> rtmEngine(const std::string& address) {
  if (address.empty())
    return Failure{std::string("missing; where chat travels, like mqtt://127.0.0.1:1883")};
  MqttEngineOptions options{.address = address};
  // Not an option of the command: others could read it in the list of processes.
  if (const char* token = std::getenv("ZAVELO_RTM_TOKEN"))
    options.token = [token = std::string(token)](const std::string&) { return token; };
  return mqttEngine(std::move(options));
}

}  // namespace zavelo::command

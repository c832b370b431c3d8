// A user in a process of its own, for as long as that is left alone:
// `mqtt_child ADDRESS USER CHANNEL`. Or a crowd, which logs in, waits for a text in the channel
// "start", and joins the channel "c": `mqtt_child ADDRESS NAME crowd COUNT PAUSE_US`.

#include <cstdio>
#include <cstdlib>

#include "tests/messaging/crowd.hpp"
#include "zavelo/core/sdk.hpp"

namespace zavelo::testing {
namespace {

void print(const std::string& line) {
  std::puts(line.c_str());
  std::fflush(stdout);
}

[[noreturn]] void stay() {
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

int run(int count, char** words) {
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({}), /*enableLog=*/false);
  if (count == 6) {
    Crowd crowd(words[1], words[2], std::atoi(words[4]));
    const std::chrono::microseconds pause(std::atoi(words[5]));
    crowd.login(pause);
    crowd.first().join("start");
    print("ready");
    if (!crowd.first().hears("start host: go")) return 1;
    const auto time = crowd.join(pause);
    print(std::to_string(time.count()));
    print(std::to_string(crowd.failed()));
    stay();
  }
  if (count != 4) return 2;
  MqttUser user({.address = words[1]}, words[2]);
  if (user.login() != 0 || user.join(words[3]) != 0) return 1;
  print("in");
  stay();
}

}  // namespace
}  // namespace zavelo::testing

int main(int count, char** words) {
  return zavelo::testing::run(count, words);
}

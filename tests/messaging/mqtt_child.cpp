// A user in a process of its own, for as long as that is left alone:
// `mqtt_child ADDRESS USER CHANNEL`.

#include <cstdio>

#include "tests/messaging/mqtt_world.hpp"

int main(int count, char** words) {
  if (count != 4) return 2;
  zavelo::testing::MqttUser user({.address = words[1]}, words[2]);
  if (user.login() != 0 || user.join(words[3]) != 0) return 1;
  std::puts("in");
  std::fflush(stdout);
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

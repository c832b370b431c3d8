// A viewer in a process of its own, who shows what is said in a channel as lines:
// `storm_viewer ADDRESS CHANNEL`. To "memory" it answers with the bytes that it uses.

#include <malloc.h>

#include <cstdio>

#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

namespace {

class Screen final : public zavelo::AgoraRtmChannelDelegate {
 public:
  void memberJoined(const std::string&, const std::string&) override {}
  void memberLeft(const std::string&, const std::string&) override {}
  void channelMessageReceived(const std::string&, const std::string& text,
                              const std::string& sender) override {
    const auto envelope = zavelo::json::decode<std::shared_ptr<zavelo::ZVMessage>>(text);
    const auto event = envelope ? (*envelope)->getStreamMessage() : nullptr;
    if (!event) return line("no event: " + text);
    if (event->message == "memory") return line("memory " + std::to_string(bytesInUse()));
    line(sender + ": " + event->message.value_or(""));
  }

 private:
  static void line(const std::string& text) {
    std::puts(text.c_str());
    std::fflush(stdout);
  }
  static std::size_t bytesInUse() {
    const auto memory = mallinfo2();
    return memory.uordblks + memory.hblkhd;
  }
};

}  // namespace

int main(int count, char** words) {
  if (count != 3) return 2;
  zavelo::testing::MqttUser user({.address = words[1]}, "viewer");
  const auto screen = std::make_shared<Screen>();
  const auto channel = user.kit->createChannel(words[2], screen);
  if (user.login() != 0 || user.join(words[2]) != 0) return 1;
  std::puts("in");
  std::fflush(stdout);
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

// What most apps use: a member's session, lists of streams, a stream's chat, the filter, a recorded
// chat. scripts/size measures what it links of the library.

#include <zavelo/zavelo.hpp>

using namespace zavelo;

namespace {

void watch(const std::string& slug) {
  const auto& chat = ZVRTMService::shared();
  chat->connect([slug, chat] {
    chat->joinChannel(
        slug, [] {}, [](const ZVError&) {});
  });
  const auto line = ZVStreamMessageFactory{ZVMessageType::message}.createMessage(
      ZVProfanityFilter::censored("hi"), 0);
  if (const auto text = ZVMessage(*line).toJsonString())
    if (const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(*text))
      static_cast<void>((*envelope)->getStreamMessage());
  ZaveloRecordedMessageDownloader("chat.json").download([](ZVRecordedMessages events) {
    static_cast<void>(ZVChatReplay(std::move(events)));
    MainQueue::shared()->stop();
  });
}

}  // namespace

int main() {
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({"http://127.0.0.1:1"}), false);
  ZVProfanityFilter::reloadProfaneWords();
  ZVUserService::shared()->login("ann", "password", "device", 0, 0, [](auto) {
    ZVUserService::shared()->getUserStreams("ann", 0, 20, [](auto page) {
      if (page.isOk()) watch(page.data()->result->front()->slug.value_or(""));
    });
  });
  MainQueue::shared()->run();
}

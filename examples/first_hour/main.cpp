// An app's first hour: signs a member in, joins a stream's channel, and prints what is said there
// until the stream ends.

#include <cstdlib>
#include <iostream>
#include <zavelo/messaging/engines/mqtt.hpp>
#include <zavelo/platform/sqlite_key_value_store.hpp>
#include <zavelo/zavelo.hpp>

using namespace zavelo;

namespace {

int status = EXIT_SUCCESS;

void stop(const std::string& problem) {
  std::cerr << "first_hour: " << problem << std::endl;
  status = EXIT_FAILURE;
  MainQueue::shared()->stop();
}

void show(const std::string& text) {
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text);
  const auto event = envelope ? (*envelope)->getStreamMessage() : nullptr;
  if (!event) return;
  if (event->type() == ZVMessageType::hostStreamEnd) return MainQueue::shared()->stop();
  if (event->type() != ZVMessageType::message) return;
  const auto name = event->senderDisplayName.value_or("");  // a guest has none
  std::cout << (name.empty() ? "a guest" : name) << ": " << event->message.value_or("")
            << std::endl;
}

/// Messaging calls back on a thread of its own: what touches the app goes to the main queue.
void enter(const std::string& slug) {
  const auto& chat = ZaveloSDK::shared().rtmService();
  chat->connect([slug, chat] {
    chat->joinChannel(
        slug,
        [slug] { MainQueue::shared()->post([slug] { std::cout << "in " << slug << std::endl; }); },
        [](const ZVError& error) {
          MainQueue::shared()->post([problem = error.description()] { stop(problem); });
        });
  });
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 6) {
    std::cerr << "usage: first_hour API RTM ZAVELO_ID PASSWORD SLUG\n";
    return 2;
  }
  const std::string api = arguments[1], rtm = arguments[2], slug = arguments[5];
  ZVPlatform host;  // before anything else of the library; the rest of it is the default
  host.store = std::make_shared<SqliteKeyValueStore>("first_hour.sqlite");
  if (!ZVPlatform::install(std::move(host))) return EXIT_FAILURE;
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({api}), /*enableLog=*/false);
  ZVAPIService::sharedInstance()->setSessionPolicy(ZVSessionPolicy::resilient);
  const auto engine = mqttEngine({.address = rtm});
  if (!engine) {
    std::cerr << "first_hour: " << engine.error() << "\n";
    return 2;
  }
  installMessagingEngine(*engine);

  const auto heard = platform::notifications()->addObserver(
      std::string(ZaveloDidReceiveChannelMessage), [](const Notification& posted) {
        if (const auto* said = posted.info<ZVRTMChannelMessage>("message"))
          MainQueue::shared()->post([text = said->message] { show(text); });
      });
  ZaveloSDK::shared().userService()->login(arguments[3], arguments[4], "first-hour", 0, 0,
                                           [&](const ZVAPIResult<std::shared_ptr<ZVUser>>& result) {
                                             if (result.isOk()) return enter(slug);
                                             stop(result.error().description);
                                           });
  MainQueue::shared()->run();
  return status;
}

// An app's first hour: signs a member in, joins a stream's channel, and prints what is said there
// until the stream ends.

#include <cstdlib>
#include <iostream>
#include <zavelo/await.hpp>
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

void show(const ZVChannelEvent& came) {
  const ZVStreamMessage& event = *came.event;
  if (event.type() == ZVMessageType::hostStreamEnd) return MainQueue::shared()->stop();
  if (event.type() != ZVMessageType::message) return;
  const auto name = event.senderDisplayName.value_or("");  // a guest has none
  std::cout << (name.empty() ? "a guest" : name) << ": " << event.message.value_or("") << std::endl;
}

/// Calls with `awaitable` in place of a completion go on here, on the main queue.
Task<> enter(std::string zaveloId, std::string password, std::string slug) {
  const auto user = co_await ZaveloSDK::shared().userService()->login(
      zaveloId, password, "first-hour", 0, 0, awaitable);
  if (!user.isOk()) co_return stop(user.error().description);
  const auto& chat = ZaveloSDK::shared().rtmService();
  const auto connected = co_await chat->connect(awaitable);
  if (!connected) co_return stop(connected.error().description());
  const auto joined = co_await chat->joinChannel(slug, awaitable);
  if (!joined) co_return stop(joined.error().description());
  std::cout << "in " << slug << std::endl;
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

  const auto events = onChannelEvent(slug, MainQueue::shared(), &show);
  const auto task = enter(arguments[3], arguments[4], slug);
  MainQueue::shared()->run();
  return status;
}

// The smallest app: signs a guest in. scripts/size measures what it links of the library.

#include <zavelo/zavelo.hpp>

int main() {
  using namespace zavelo;
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({"http://127.0.0.1:1"}), false);
  ZVUserService::shared()->loginGuest("device", [](auto) { MainQueue::shared()->stop(); });
  MainQueue::shared()->run();
}

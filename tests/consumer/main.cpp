// An app that signs a guest in, against the test kit's script in place of a backend.

#include <cstdio>

#include "zavelo/core/version.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"
#include "zavelo/zavelo.hpp"

using namespace zavelo;

int main() {
  const auto backend = std::make_shared<testing::ScriptedHttpSession>();
  const auto queue = std::make_shared<testing::ManualQueue>();
  ZVPlatform platform;
  platform.httpSession = backend;
  platform.mainQueue = queue;
  platform.store = std::make_shared<testing::MemoryKeyValueStore>();
  if (!ZVPlatform::install(std::move(platform))) return 1;
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({"https://api.example"}), false);

  backend->reply(200, R"({"code":1,"data":{"guestId":7,"accessToken":"a"}})");
  std::int64_t guest = 0;
  const auto& users = ZaveloSDK::shared().userService();
  users->loginGuest("device", [&](ZVAPIResult<std::shared_ptr<ZVUser>> result) {
    if (result.isOk()) guest = result.data()->guestId.value_or(0);
  });
  queue->runDue();
  std::printf("zavelo %s: guest %lld\n", version, static_cast<long long>(guest));
  return guest == 7 && users->isLogin() ? 0 : 1;
}

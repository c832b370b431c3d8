#include "zavelo/testing/fault_script.hpp"

#include <gmock/gmock.h>

#include "support/temporary_folder.hpp"
#include "tests/e2e/app.hpp"
#include "tests/sandbox/backend.hpp"
#include "zavelo/platform/jpeg.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace zavelo::test {
namespace {

using ::testing::ElementsAre;
using Type = ZVAPIErrorType;

constexpr std::string_view script = R"({"faults": [
  {"endpoint": "/api/users/search", "fault": "invalidJson"},
  {"endpoint": "/api/users/search", "fault": "wrongType"},
  {"endpoint": "/api/users/search", "fault": "cut"},
  {"endpoint": "/api/users/search", "fault": "refuse"},
  {"endpoint": "/api/users/search", "fault": "code", "code": 1341, "message": "Elsewhere"}]})";

/// What an app sees of each fault.
using Outcomes = std::vector<Type>;
constexpr std::size_t calls = 5;

Outcomes againstTheSandbox() {
  const TemporaryFolder folder;
  const sandbox::Backend backend;
  App app(backend.sandbox->url(), folder / "session.sqlite");
  EXPECT_TRUE(app.signIn("ann").ok);
  EXPECT_THAT(backend.postText("/sandbox/faults", std::string(script)), sandbox::HasCode(1));
  Outcomes outcomes;
  for (std::size_t i = 0; i < calls; ++i) outcomes.push_back(app.searchToItsEnd().error.type);
  return outcomes;
}

Outcomes againstTheScript() {
  const auto http = std::make_shared<testing::ScriptedHttpSession>();
  const auto queue = std::make_shared<testing::ManualQueue>();
  const auto api = ZVAPIService::create(
      {http, queue, std::make_shared<NotificationCentre>(), platform::clock()});
  const auto users = ZVUserService::create({api, std::make_shared<testing::MemoryKeyValueStore>(),
                                            std::make_shared<TurboJpegEncoder>()});
  http->reply(200, R"({"code":1,"data":{"accessToken":"a","userInfo":{"userId":1}}})");
  users->loginZavelo("ann", "", "d1", 10, 106.7, [](const auto&) {});
  http->faults().add(testing::readFaults(script).value());
  Outcomes outcomes;
  for (std::size_t i = 0; i < calls; ++i) {
    http->reply(200, R"({"code":1,"data":{"result":[{"userId":1}],"nextId":1,"isEnd":true}})");
    users->searchForUser("", 0, 5, [&](const ZVAPIResult<std::shared_ptr<ZVSearchUser>>& result) {
      outcomes.push_back(result.isOk() ? Type{} : result.error().type);
    });
    queue->runDue();
  }
  return outcomes;
}

TEST(FaultScript, LooksTheSameToAnAppFromTheSandboxAndFromAScriptedSession) {
  const auto outcomes = againstTheSandbox();
  EXPECT_THAT(outcomes, ElementsAre(Type::invalidData, Type::invalidData, Type::unknown,
                                    Type::unknown, Type::loggedInOtherDevice));
  EXPECT_EQ(againstTheScript(), outcomes);
}

}  // namespace
}  // namespace zavelo::test

#include <gtest/gtest.h>

#include "tests/services/user_fixture.hpp"
#include "zavelo/services/setting_service.hpp"

namespace zavelo {
namespace {

using Words = std::vector<std::string>;

class SettingOperations : public testing::UserFixture {
 protected:
  const std::shared_ptr<ZVUserService> user = makeService();
  const std::shared_ptr<ZVSettingService> setting = ZVSettingService::create({api, user});
  int answers = 0;
};

TEST_F(SettingOperations, WordsThatAreFetchedReplaceTheCacheAndAFailureLeavesIt) {
  const auto fetch = [&](const char* reply, const Words& expected) {
    http->reply(200, reply);
    setting->getNaughtyWords([&](const auto&) {
      EXPECT_EQ(user->naughtyWords(), expected) << "before the caller hears";
      ++answers;
    });
    queue->runDue();
    EXPECT_EQ(makeService()->naughtyWords(), expected) << "in the store";
  };
  fetch(R"({"code":1,"data":["bad","Wörse"]})", {"bad", "Wörse"});
  fetch(R"({"code":0,"data":["x"]})", {"bad", "Wörse"});
  fetch(R"({"code":1,"data":["x",null]})", {"bad", "Wörse"});
  fetch(R"({"code":1,"data":[]})", {});
  EXPECT_EQ(answers, 4);
  EXPECT_EQ(http->requests()[0].url, "https://api.test/api/settings/naughty-words");
  EXPECT_EQ(std::get<std::string>(http->requests()[0].body), "{}");
}

TEST_F(SettingOperations, TheVersionsOfTheConfigurationDifferInTheirPath) {
  const auto answer = [this](auto result) {
    EXPECT_EQ(result.data()->allowRecordChat(), true);
    ++answers;
  };
  for (int i = 0; i < 2; ++i) http->reply(200, R"({"code":1,"data":{"allowRecordChat":true}})");
  setting->getSettingConfigV1(answer);
  setting->getSettingConfigV2(answer);
  queue->runDue();
  EXPECT_EQ(answers, 2);
  EXPECT_EQ(http->requests()[0].url, "https://api.test/api/settings/configs");
  EXPECT_EQ(http->requests()[1].url, "https://api.test/api/settings/v2/configs");
  EXPECT_TRUE(store->get("ZaveloNaughtyWords").value() == std::nullopt);
}

}  // namespace
}  // namespace zavelo

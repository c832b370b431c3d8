#include <gtest/gtest.h>

#include <optional>

#include <thread>

#include "zavelo/platform/platform.hpp"
#include "zavelo/services/profanity_filter.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/fresh_library.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

// The filter with the words of the shared services.

namespace zavelo {
namespace {

class ProfanityWords : public ::testing::Test {
 protected:
  void SetUp() override {
    ZVPlatform platform;
    platform.httpSession = http;
    platform.mainQueue = queue;
    platform.store = std::make_shared<testing::MemoryKeyValueStore>();
    library.emplace(std::move(platform));
  }

  std::optional<testing::FreshLibrary> library;
  const std::shared_ptr<testing::ScriptedHttpSession> http =
      std::make_shared<testing::ScriptedHttpSession>();
  const std::shared_ptr<testing::ManualQueue> queue = std::make_shared<testing::ManualQueue>();
};

TEST_F(ProfanityWords, HoldOnceTheyAreFetchedAndOutliveAFailure) {
  std::string text = "a bad day";
  const auto attributed = std::make_shared<const ZVAttributedString>(text);
  http->reply(200, R"({"code":1,"data":["bad"]})");
  ZVProfanityFilter::reloadProfaneWords();
  EXPECT_EQ(ZVProfanityFilter::censored(text), "a bad day");
  queue->runDue();
  EXPECT_EQ(ZVProfanityFilter::censored(text), "a *** day");
  http->reply(500, "");
  ZVProfanityFilter::reloadProfaneWords();
  queue->runDue();
  ZVProfanityFilter::censor(text);
  EXPECT_EQ(text, "a *** day");
  EXPECT_EQ(ZVProfanityFilter::censored(attributed)->text(), "a *** day");
}

TEST_F(ProfanityWords, MayBeReplacedWhileLinesAreMasked) {
  const auto user = ZVUserService::shared();
  user->saveNaughtyWords({"bad"});
  const auto prepared = user->bannedWords();
  EXPECT_EQ(user->bannedWords(), prepared) << "the same words are prepared twice";
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([] {
      for (int line = 0; line < 200; ++line)
        EXPECT_EQ(ZVProfanityFilter::censored("a bad day"), "a *** day");
    });
  for (int i = 0; i < 50; ++i) user->saveNaughtyWords({"bad", std::to_string(i)});
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace zavelo

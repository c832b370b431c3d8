#include <gtest/gtest.h>

#include <future>

#include "tests/services/user_fixture.hpp"

namespace zavelo {
namespace {

using testing::memberJson;

constexpr const char* bobJson =
    R"({"userInfo":{"userName":"bob"},"accessToken":"b1","refreshToken":"rb1"})";
constexpr const char* renewed =
    R"({"code":1,"data":{"accessToken":"a2","refreshToken":"r2","expires":"later"}})";
constexpr const char* done = R"({"code":1,"data":true})";

/// A call of Ann's is under way when the session changes.
class SessionBoundary : public testing::UserFixture {
 protected:
  void SetUp() override {
    service = makeService();
    service->setUser(userOf(memberJson));
  }
  ZVCall call() {
    return service->updatePromoCode("P", "", [this](auto result) { keep(result); });
  }
  template <class T>
  void keep(const ZVAPIResult<T>& result) {
    answers.push_back(result.isOk() ? "ok" : std::string(caseName(result.error().type)));
  }
  void reply(int status, const char* body = "") {
    http->reply(status, body);
    queue->runDue();
  }
  std::string takeAnswers() {
    queue->runDue();
    std::string text;
    for (const auto& each : std::exchange(answers, {})) text += (text.empty() ? "" : " ") + each;
    return text;
  }

  std::shared_ptr<ZVUserService> service;
  std::vector<std::string> answers;
};

TEST_F(SessionBoundary, WhatIsAnsweredAfterASessionIsOverTouchesNoOther) {
  const std::vector<std::function<void()>> changes{
      [&] { service->setUser(userOf(bobJson)); },
      [&] { service->updateUser(userOf(bobJson)); },
      [&] { service->setUser(nullptr); },
      [&] { service->endSession(); },
  };
  struct Case {
    const char* name;
    std::function<void()> start;
    int status;
    const char* body;
    const char* answer;
  };
  const std::vector<Case> cases{
      {"401", [&] { call(); }, 401, "", "unauthorized"},
      {"1341", [&] { call(); }, 200, R"({"code":1341})", "loggedInOtherDevice"},
      {"603", [&] { call(); }, 200, R"({"code":603})", "banned"},
      {"renewal", [&] { call(), reply(401); }, 200, renewed, "unauthorized"},
      {"failed renewal", [&] { call(), reply(401); }, 200, R"({"code":1018})", "unauthorized"},
      {"renewal that bans", [&] { call(), reply(401); }, 200, R"({"code":603})", "unauthorized"},
      {"renewal on demand",
       [&] { service->refreshToken("r1", [&](auto result) { keep(result); }); }, 200, renewed,
       "unauthorized"},
      {"sign-out", [&] { service->logoutZavelo([&](auto result) { keep(result); }); }, 200, done,
       "ok"},
  };
  for (const auto policy : {ZVSessionPolicy::asSpecified, ZVSessionPolicy::resilient}) {
    api->setSessionPolicy(policy);
    for (std::size_t change = 0; change < changes.size(); ++change) {
      for (const Case& each : cases) {
        SCOPED_TRACE(std::string(each.name) + ", change " + std::to_string(change));
        service->setUser(userOf(memberJson));
        each.start();
        changes[change]();
        const auto requests = http->requests().size();
        const auto stored = storedUser();
        const auto token = service->accessToken();
        reply(each.status, each.body);
        EXPECT_EQ(takeAnswers(), each.answer);
        EXPECT_EQ(http->requests().size(), requests) << "nothing is sent again";
        EXPECT_EQ(storedUser(), stored);
        EXPECT_EQ(service->accessToken(), token);
        EXPECT_EQ(heard, std::vector<std::string>{});
      }
    }
  }
}

TEST_F(SessionBoundary, RenewalsAndUpdatesOfTheSameUserContinueTheSession) {
  const auto edited = userOf(R"({"userInfo":{"userName":"ann","about":"me"},"accessToken":"a1",
                                 "refreshToken":"r1"})");
  call();
  service->updateUser(edited);
  reply(401);
  reply(200, renewed);
  service->setUser(service->currentUser());
  reply(401);
  EXPECT_EQ(sent(3), (json::Object{{"refreshToken", "r2"}}));
  reply(200, renewed);
  reply(200, done);
  EXPECT_EQ(takeAnswers(), "ok");
  EXPECT_EQ(header(4, "Authorization"), "bearer a2");
}

TEST_F(SessionBoundary, ARenewalIsKeptWhateverBecomesOfTheCallThatBeganIt) {
  const std::string kept = R"({"userInfo":{"userName":"ann"},"accessToken":"a2",)"
                           R"("refreshToken":"r2","expires":"later"})";
  struct Case {
    const char* name;
    std::function<void()> leave;
    const char* answer;
  };
  const std::vector<Case> cases{
      {"cancelled", [&] { call().cancel(); }, "unknown"},
      {"cancelled late", nullptr, "unknown"},
      {"on demand",
       [&] { service->refreshToken("r1", [&](auto result) { keep(result); }).cancel(); },
       "unknown"},
      {"destroyed", nullptr, "noConnection"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    const bool isDestroyed = each.name == std::string("destroyed");
    service->setUser(userOf(memberJson));
    const auto begun = http->requests().size();
    if (each.name == std::string("on demand")) {
      each.leave();
    } else {
      const ZVCall waiting = call();
      reply(401);
      if (isDestroyed) {
        service.reset();
        api.reset();
      } else {
        waiting.cancel();
      }
    }
    EXPECT_EQ(takeAnswers(), each.answer) << "at once";
    reply(200, renewed);
    EXPECT_EQ(takeAnswers(), "");
    EXPECT_EQ(storedUser(), kept);
    EXPECT_EQ(http->waiting(), 0u) << "the call is not sent again";
    EXPECT_LE(http->requests().size(), begun + 2);
  }
  EXPECT_EQ(heard, std::vector<std::string>{});
}

TEST_F(SessionBoundary, ARenewalThatFailsForACancelledCallEndsNoSession) {
  const ZVCall waiting = call();
  reply(401);
  waiting.cancel();
  reply(500);
  EXPECT_EQ(takeAnswers(), "unknown");
  EXPECT_TRUE(service->isLogin());
  EXPECT_EQ(heard, std::vector<std::string>{});
}

TEST_F(SessionBoundary, MemoryAndStoreChangeInOneOrder) {
  struct SlowStore final : KeyValueStore {
    Result<std::optional<StoreValue>, StoreError> get(std::string_view key) override {
      return kept->get(key);
    }
    Status<StoreError> set(std::string_view key, const StoreValue& value) override {
      if (auto hook = std::exchange(onSet, nullptr)) hook();
      return kept->set(key, value);
    }
    Status<StoreError> remove(std::string_view key) override { return kept->remove(key); }
    std::shared_ptr<KeyValueStore> kept;
    std::function<void()> onSet;
  };
  const auto slow = std::make_shared<SlowStore>();
  slow->kept = store;
  service = ZVUserService::create({api, slow, nullptr});
  std::future<void> signOut;
  slow->onSet = [&] {
    signOut = std::async(std::launch::async, [&] { service->endSession(); });
    signOut.wait_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(service->isLogin()) << "may be asked in the middle of a write";
  };
  service->refreshTokenWith({"a2", "r2", "later"});
  signOut.wait();
  EXPECT_FALSE(service->isLogin());
  EXPECT_EQ(storedUser(), "");
}

TEST_F(SessionBoundary, WhatTheStoreRefusesIsReportedAndTriedAgain) {
  std::vector<std::string> posted;
  tokens.push_back(notifications->addObserver(std::string(ZaveloStoreDidFail),
                                              [&](const auto&) { posted.push_back("failed"); }));
  store->failWith("the disk is full");
  service->endSession();
  queue->runDue();
  EXPECT_EQ(posted.size(), 1u);
  EXPECT_EQ(service->storeProblem()->description, "the disk is full");
  store->failWith("");
  EXPECT_FALSE(service->storeProblem());
  EXPECT_EQ(storedUser(), "");

  store->failWith("the disk is full");
  service->setUser(userOf(bobJson));
  store->failWith("");
  service->updateUser(userOf(testing::guestJson));
  EXPECT_EQ(storedUser(), bobJson) << "with the next change, which itself stores nothing";

  store->failWith("the disk is full");
  service->setUser(nullptr);
  store->failWith("");
  service.reset();
  EXPECT_EQ(storedUser(), "") << "when the service is destroyed";
}

class Resilient : public SessionBoundary {
 protected:
  void SetUp() override {
    SessionBoundary::SetUp();
    api->setSessionPolicy(ZVSessionPolicy::resilient);
  }
};

TEST_F(Resilient, CallsThatMeet401TogetherShareOneRenewal) {
  for (int i = 0; i < 4; ++i) call();
  for (int i = 0; i < 4; ++i) reply(401);
  EXPECT_EQ(http->requests().size(), 5u) << "four calls and a renewal";
  reply(200, renewed);
  EXPECT_EQ(http->requests().size(), 9u) << "each call is sent once more";
  for (int i = 0; i < 4; ++i) reply(200, done);
  EXPECT_EQ(takeAnswers(), "ok ok ok ok");
}

TEST_F(Resilient, ACallWhoseTokenWasReplacedMeanwhileIsSentAgainWithoutARenewal) {
  call();
  service->refreshTokenWith({"a2", "r2", "later"});
  reply(401);
  reply(200, done);
  EXPECT_EQ(takeAnswers(), "ok");
  EXPECT_EQ(header(1, "Authorization"), "bearer a2");
  EXPECT_EQ(sent(1), sent(0));
}

TEST_F(Resilient, OnlyARefusedRenewalEndsTheSession) {
  struct Case {
    const char* name;
    std::function<void()> answer;
    const char* result;
    bool isSignedIn;
  };
  const std::vector<Case> cases{
      {"no reply",
       [&] {
         http->fail({HttpFailure::Kind::unreachable, "no network"}), queue->runDue();
       },
       "unknown unknown", true},
      {"lost", [&] { http->lose(), queue->runDue(); }, "unknown unknown", true},
      {"5xx", [&] { reply(503, "<html>"); }, "invalidData invalidData", true},
      {"refused", [&] { reply(200, R"({"code":1018})"); },
       "invalidRefreshToken invalidRefreshToken", false},
      {"401", [&] { reply(401); }, "invalidRefreshToken invalidRefreshToken", false},
      {"no token", [&] { reply(200, R"({"code":1,"data":{"refreshToken":"r9"}})"); },
       "invalidRefreshToken invalidRefreshToken", false},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    heard.clear();
    service->setUser(userOf(memberJson));
    call(), call();
    reply(401), reply(401);
    each.answer();
    EXPECT_EQ(takeAnswers(), each.result);
    EXPECT_EQ(service->isLogin(), each.isSignedIn);
    EXPECT_EQ(storedUser(), each.isSignedIn ? memberJson : "");
    EXPECT_EQ(heard.size(), each.isSignedIn ? 0u : 1u);
  }
}

TEST_F(Resilient, ACallIsSentAgainAsItWas) {
  service->editProfile("n", "", "", "", ZVImage{2, 2, std::vector<std::byte>(16)},
                       [&](auto result) { keep(result); });
  reply(401);
  reply(200, renewed);
  EXPECT_EQ(std::get<std::vector<HttpFormPart>>(http->requests().at(2).body).size(), 5u);
  reply(200, R"({"code":1,"data":{}})");
  EXPECT_EQ(takeAnswers(), "ok");
  EXPECT_EQ(log->text().find("bearer"), std::string::npos) << "logged as the caller asked";
}

TEST_F(Resilient, ACodeThatEndsTheSessionCountsEvenIfTheDataDoesNotDecode) {
  call();
  reply(200, R"({"code":603,"data":"banned","message":"bye"})");
  EXPECT_EQ(takeAnswers(), "banned");
  EXPECT_FALSE(service->isLogin());
  EXPECT_EQ(heard, std::vector<std::string>{"ZaveloBanned"});
}

}  // namespace
}  // namespace zavelo

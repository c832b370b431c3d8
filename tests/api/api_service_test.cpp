#include "zavelo/api/api_service.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/api_fixture.hpp"

namespace zavelo {
namespace {

using Level = ZVAPIService::APILogLevel;

struct FakeSession final : ZVSessionSource {
  std::optional<std::string> access;
  std::optional<std::string> refresh;
  int ended = 0;

  std::optional<std::string> accessToken() const override { return access; }
  std::optional<std::string> refreshToken() const override { return refresh; }
  void refreshTokenWith(const ZVRefreshToken& token) override {
    access = token.accessToken;
    refresh = token.refreshToken;
  }
  void endSession() override {
    ++ended;
    access = refresh = std::nullopt;
  }
};

class ApiService : public testing::ApiFixture {
 protected:
  ApiService() { api->setSessionSource(session); }

  ZVCall call(std::optional<json::Object> parameters = json::Object{{"a", 1}},
              Level level = Level::simple) {
    return api->request<std::int64_t>(
        "https://api.test/x", ZVHTTPMethod::post, std::move(parameters), ZVParameterEncoding::json,
        0, {}, false, level, [this](auto result) { results.push_back(result); });
  }
  void signIn() {
    session->access = "old";
    session->refresh = "refresh-1";
  }
  /// "type: description" of the only answer, or its data.
  std::string answer() {
    queue->runDue();
    EXPECT_EQ(results.size(), 1u);
    if (results.size() != 1) return "";
    if (results[0].isOk()) return std::to_string(results[0].data());
    const ZVAPIError& error = results[0].error();
    return std::string(caseName(error.type)) + ": " + error.description;
  }

  static constexpr const char* renewed =
      R"({"code":1,"data":{"accessToken":"new","refreshToken":"refresh-2","expires":"later"}})";

  const std::shared_ptr<FakeSession> session = std::make_shared<FakeSession>();
  using Results = std::vector<ZVAPIResult<std::int64_t>>;
  Results results;
};

TEST_F(ApiService, SendsJsonWithTheTokenOnlyWhileThereIsOne) {
  http->reply(200, R"({"code":1,"data":7})");
  call();
  EXPECT_TRUE(results.empty()) << "completions run on the main queue";
  EXPECT_EQ(answer(), "7");
  EXPECT_EQ(header(0, "Accept"), "application/json");
  EXPECT_EQ(header(0, "Content-Type"), "application/json");
  EXPECT_EQ(header(0, "Authorization"), "");
  EXPECT_EQ(sent(0), (json::Object{{"a", 1}}));

  signIn();
  call(std::nullopt);
  EXPECT_EQ(header(1, "Authorization"), "bearer old");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(http->requests().at(1).body));
  http->reply(200, R"({"code":1,"data":8})");
  queue->runDue();
}

TEST_F(ApiService, FieldsOfTheRequestRecordReachTheHttpSession) {
  signIn();
  std::vector<HttpUpload> uploads;
  // A completion may own what it captures.
  const auto callWith = [&](ZVEndpointRequest request) {
    request.parameters = json::Object{};
    api->request<std::int64_t>(
        std::move(request),
        [kept = std::make_unique<Results*>(&results)](auto result) { (*kept)->push_back(result); });
    return http->requests().back();
  };
  const auto plain = callWith({.endpoint = ZVAPI::sendGift});
  EXPECT_EQ(plain.url, "https://api.test/api/gifts/send-gift");
  EXPECT_EQ(plain.deadline, std::nullopt);
  EXPECT_EQ(plain.onUpload, nullptr);
  EXPECT_EQ(plain.replyLimit, HttpRequest().replyLimit);

  const auto given = callWith(
      {.endpoint = {"https://api.test/x", ZVHTTPMethod::post},
       .deadline = std::chrono::milliseconds(5),
       .onProgress = [&](const HttpUpload& u) { uploads.push_back(u); },
       .headers = {{"accept", "*/*"}, {"content-type", "x"}, {"authorization", "x"}, {"X", "1"}},
       .replyLimit = 7});
  EXPECT_EQ(given.deadline, std::chrono::milliseconds(5));
  EXPECT_EQ(given.replyLimit, 7u);
  EXPECT_EQ(given.headers, (std::vector<HttpHeader>{{"Authorization", "bearer old"},
                                                    {"accept", "*/*"},
                                                    {"X", "1"},
                                                    {"Content-Type", "application/json"}}));
  given.onUpload({1, 2});
  EXPECT_TRUE(uploads.empty()) << "progress arrives on the main queue";
  queue->runDue();
  EXPECT_EQ(uploads, std::vector{HttpUpload({1, 2})});

  for (int i = 0; i < 2; ++i) http->reply(200, R"({"code":1,"data":1})");
  queue->runDue();
  EXPECT_EQ(results.size(), 2u);
}

TEST_F(ApiService, AnswersEachKindOfReplyOnce) {
  const auto answerTo = [&](auto&& script) {
    results.clear();
    script();
    call();
    return answer();
  };
  const auto reply = [&](std::string body) {
    return answerTo([&] { http->reply(200, std::move(body)); });
  };
  EXPECT_EQ(reply(R"({"code":1})"), "invalidData: Invalid data!");
  EXPECT_EQ(reply(R"({"data":1})"), "invalidData: Invalid data!");
  EXPECT_EQ(reply(R"({"code":1,"data":"x"})"), "invalidData: Invalid data!");
  EXPECT_EQ(results[0].error().detail, "data: expected integer");
  EXPECT_NE(log->text().find("https://api.test/x: data: expected integer"), std::string::npos);
  for (const char* broken :
       {"", "[]", "<html>", "{\"code\":1,\"data\":", "{\"code\":1,\"message\":\"\xff\"}"})
    EXPECT_EQ(reply(broken), "invalidData: Invalid data!") << broken;
  EXPECT_EQ(reply(R"({"code":750,"message":"name?"})"), "modelInvalid: name?");
  EXPECT_EQ(answerTo([&] {
              http->fail({HttpFailure::Kind::timedOut, "timed out"});
            }),
            "unknown: timed out");
  EXPECT_EQ(answerTo([&] { http->lose(); }), "unknown: Unknown error occured!");
  EXPECT_EQ(answerTo([&] { http->reply(500, R"({"code":1,"data":3})"); }), "3")
      << "the envelope counts, not the status";
}

TEST_F(ApiService, ParametersThatCannotBeEncodedFailTheCall) {
  call(json::Object{{"x", std::numeric_limits<double>::infinity()}});
  EXPECT_EQ(answer(), "unknown: the parameters cannot be encoded: x: not a finite number");
  EXPECT_TRUE(http->requests().empty());
}

TEST_F(ApiService, EndsTheSessionBeforeTheCallerHears) {
  signIn();
  http->reply(200, R"({"code":1341})");
  api->request<bool>("u", ZVHTTPMethod::post, {}, ZVParameterEncoding::json, 0, {}, false,
                     Level::none, [&](auto result) {
                       EXPECT_EQ(session->ended, 1);
                       EXPECT_EQ(heard, std::vector<std::string>{"ZaveloDidLogInAnotherDevice"});
                       EXPECT_EQ(result.error().type, ZVAPIErrorType::loggedInOtherDevice);
                       heard.emplace_back("answered");
                     });
  queue->runDue();
  EXPECT_EQ(heard.size(), 2u);
  EXPECT_TRUE(log->text().find("POST: u") == std::string::npos) << "level none";
}

TEST_F(ApiService, RenewsTheSessionAndSendsAgain) {
  signIn();
  http->reply(401, "");
  http->reply(200, renewed);
  http->reply(200, R"({"code":1,"data":7})");
  call();
  EXPECT_EQ(answer(), "7");
  const auto requests = http->requests();
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[1].url, "https://api.test/api/users/refresh");
  EXPECT_EQ(sent(1), (json::Object{{"refreshToken", "refresh-1"}}));
  EXPECT_EQ(header(1, "Authorization"), "bearer old");
  EXPECT_EQ(header(2, "Authorization"), "bearer new");
  EXPECT_EQ(sent(2), sent(0));
  EXPECT_EQ(session->refresh, "refresh-2");
  EXPECT_TRUE(heard.empty());
}

struct Reports final : ZVCallObserver {
  void callEnded(const ZVCallReport& report) override { all.push_back(report); }
  std::vector<ZVCallReport> all;
};

TEST_F(ApiService, AnObserverHasOneReportOfEachCallBeforeItsCompletion) {
  const auto observer = std::make_shared<Reports>();
  api->setCallObserver(observer);
  api->setTracing(true);
  signIn();
  HttpReply refused{.status = 401, .times = HttpTimes{.sentBytes = 5, .receivedBytes = 1}};
  refused.times->waiting = std::chrono::microseconds(30);
  http->reply(refused);
  http->reply(200, renewed);
  HttpReply last{.status = 200, .body = R"({"code":1,"data":7})", .times = refused.times};
  http->reply(last);
  api->request<std::int64_t>({.endpoint = {"https://api.test/x?token=hush", ZVHTTPMethod::post}},
                             [&](auto result) {
                               EXPECT_EQ(observer->all.size(), 2U);
                               results.push_back(result);
                             });
  clock->advance(std::chrono::milliseconds(12));
  EXPECT_EQ(answer(), "7");
  ASSERT_EQ(observer->all.size(), 2U);
  EXPECT_EQ(observer->all[0].endpoint, "/api/users/refresh");
  const ZVCallReport& report = observer->all[1];
  EXPECT_EQ(report.endpoint, "/x");
  EXPECT_EQ(report.error, std::nullopt);
  EXPECT_EQ(report.status, 200);
  EXPECT_EQ(report.duration, std::chrono::milliseconds(12));
  EXPECT_EQ(report.times.waiting, std::chrono::microseconds(60));
  EXPECT_EQ(report.times.sentBytes, 10U);
  EXPECT_EQ(report.resends, 1);
  EXPECT_EQ(report.traceId.size(), 32U);
  for (const std::size_t sending : {0U, 2U})
    EXPECT_TRUE(header(sending, "traceparent").starts_with("00-" + report.traceId + "-"));
  EXPECT_NE(header(0, "traceparent"), header(2, "traceparent"));

  api->setCallObserver(nullptr);
  api->setTracing(false);
  results.clear();
  http->reply(200, R"({"code":1,"data":8})");
  call();
  EXPECT_EQ(answer(), "8");
  EXPECT_EQ(observer->all.size(), 2U);
  EXPECT_EQ(header(3, "traceparent"), "");
  EXPECT_FALSE(http->requests().back().isMeasured);
}

TEST_F(ApiService, GivesUpAtTheThird401ButRenewsOnceMore) {
  signIn();
  for (int i = 0; i < 3; ++i) {
    http->reply(401, "");
    http->reply(200, renewed);
  }
  const auto observer = notifications->addObserver(
      std::string(ZaveloDidRefreshTokenFailed),
      [this](const auto&) { EXPECT_EQ(session->ended, 0) << "ended after it was told"; });
  call();
  EXPECT_EQ(answer(), "invalidRefreshToken: Unauthorized!");
  EXPECT_EQ(http->requests().size(), 6u);
  EXPECT_EQ(session->ended, 1);
  EXPECT_EQ(heard, std::vector<std::string>{"ZaveloDidRefreshTokenFailed"});
}

TEST_F(ApiService, AFailedRenewalEndsTheSession) {
  for (const char* reply : {R"({"code":1018,"message":"no"})", R"({"code":1})", "", "cut"}) {
    results.clear();
    heard.clear();
    signIn();
    http->reply(401, "");
    std::string(reply) == "cut" ? http->lose() : http->reply(200, reply);
    call();
    EXPECT_EQ(answer(), "invalidRefreshToken: Unauthorized!") << reply;
    EXPECT_EQ(heard, std::vector<std::string>{"ZaveloDidRefreshTokenFailed"});
  }
  EXPECT_NE(log->text().find("Refresh Token: Can't get response!"), std::string::npos);
}

TEST_F(ApiService, A401WithoutARefreshTokenLeavesTheSessionAlone) {
  session->access = "old";
  http->reply(401, R"({"code":1341})");
  call();
  EXPECT_EQ(answer(), "unauthorized: Unauthorized!");
  EXPECT_EQ(session->ended, 0);
  EXPECT_EQ(http->requests().size(), 1u);
}

TEST_F(ApiService, TheRepetitionOfAnUploadKeepsNoFiles) {
  signIn();
  http->reply(401, "");
  http->reply(200, renewed);
  http->reply(200, R"({"code":1,"data":7})");
  std::vector<ZVMultiPartData> files{{{std::byte{1}}, "profile", "image/jpeg", "profile.jpeg"}};
  const void* const bytes = files[0].data.data();
  api->request<std::int64_t>("u", ZVHTTPMethod::post,
                             json::Object{{"price", 10.0}, {"n", 3}, {"f", true}, {"t", "x y"}},
                             ZVParameterEncoding::json, 0, std::move(files), true, Level::simple,
                             [this](auto result) { results.push_back(result); });
  EXPECT_EQ(answer(), "7");
  const auto requests = http->requests();
  const auto form = [&](std::size_t index) {
    std::string text;
    for (const auto& part : std::get<std::vector<HttpFormPart>>(requests.at(index).body))
      text += part.name + "=" + (part.fileName.empty() ? part.data.text() : part.fileName) + ";";
    return text;
  };
  EXPECT_EQ(form(0), "profile=profile.jpeg;price=10.0;n=3;f=true;t=x y;");
  const auto& parts = std::get<std::vector<HttpFormPart>>(requests.at(0).body);
  EXPECT_EQ(parts[0].data.view().data(), bytes) << "an upload is in memory once";
  EXPECT_EQ(form(2), "price=10.0;n=3;f=true;t=x y;");
}

TEST_F(ApiService, LogsTheExchangeInOneEntryWithoutSecretsAtLevelSimple) {
  signIn();
  call(json::Object{{"password", "hush"}});
  clock->advance(std::chrono::microseconds(12'900));
  http->reply(200, R"({"code":1,"data":7})");
  queue->runDue();
  const std::string rule(58, '=');
  const std::string entry = log->entries().back();
  EXPECT_TRUE(entry.ends_with(" printLogs() -> " + rule +
                              "\nPOST: https://api.test/x\nStatus code: 200\nTook: 12ms\n" + rule))
      << entry;
  EXPECT_EQ(log->text().find("hush"), std::string::npos);
}

TEST_F(ApiService, LogsHeadersAndBodiesAtLevelFullAndTheRepetitionAlways) {
  signIn();
  call(json::Object{{"a", 1}}, Level::full);
  http->reply(200, R"({"code":1,"data":7})");
  queue->runDue();
  const std::string full = log->entries().back();
  EXPECT_NE(full.find("Headers: {\n  \"Accept\": \"application/json\",\n  \"Authorization\": "
                      "\"bearer old\"\n}\nBody: {\n  \"a\": 1\n}\nStatus code: 200\n{\"code\":1"),
            std::string::npos)
      << full;

  call(json::Object{{"a", 1}}, Level::simple);
  http->reply(401, "");
  queue->runDue();
  http->reply(200, renewed);
  queue->runDue();
  const std::string first = log->entries().back();
  EXPECT_NE(first.find("Status code: 401\nREFRESH TOKEN >>>>\nPOST: "
                       "https://api.test/api/users/refresh\nRefresh Token Tooks: 0\n<<<< REFRESH "
                       "TOKEN\nTook: 0ms"),
            std::string::npos)
      << first;
  EXPECT_EQ(first.find("refresh-1"), std::string::npos);
  http->fail({HttpFailure::Kind::broken, "reset"});
  queue->runDue();
  const std::string repetition = log->entries().back();
  EXPECT_NE(repetition.find("bearer new"), std::string::npos);
  EXPECT_NE(repetition.find("Invalid response!"), std::string::npos);
}

TEST_F(ApiService, ACancelledCallCompletesOnceWhateverItWaitsFor) {
  call().cancel();
  EXPECT_EQ(answer(), "unknown: cancelled");

  results.clear();  // the reply is there, but nobody has looked at it
  http->reply(200, R"({"code":1,"data":7})");
  const ZVCall late = call();
  late.cancel();
  EXPECT_EQ(answer(), "unknown: cancelled");
  late.cancel();
  queue->runDue();

  results.clear();  // in the middle of a renewal
  signIn();
  http->reply(401, "");
  const ZVCall renewing = call();
  queue->runDue();
  renewing.cancel();
  EXPECT_EQ(answer(), "unknown: cancelled");
  EXPECT_EQ(session->ended, 0);
  http->reply(200, renewed);
  queue->runDue();
  EXPECT_EQ(session->refresh, "refresh-2");
}

TEST_F(ApiService, DestroyingItAnswersEveryCallOnce) {
  signIn();
  call();
  call();
  http->reply(401, "");
  queue->runDue();  // the first one is renewing now
  api.reset();
  EXPECT_EQ(http->waiting(), 1u) << "the renewal goes on";
  queue->runDue();
  ASSERT_EQ(results.size(), 2u);
  for (const auto& result : results) {
    EXPECT_EQ(result.error().type, ZVAPIErrorType::noConnection);
    EXPECT_EQ(result.error().description,
              "Please ensure that you are in an area with strong WIFI/3G signal!");
  }
  EXPECT_EQ(session->ended, 0);
  http->reply(200, renewed);
  queue->runDue();
  EXPECT_EQ(session->refresh, "refresh-2");
}

TEST_F(ApiService, ADeadlineCoversTheRenewalAndTheRepetition) {
  const auto callWithin = [&](int milliseconds) {
    signIn();
    api->request<std::int64_t>({.endpoint = {"u", ZVHTTPMethod::post},
                                .logLevel = Level::none,
                                .deadline = std::chrono::milliseconds(milliseconds)},
                               [this](auto result) { results.push_back(result); });
    http->reply(401, "");
    queue->runDue();
  };
  callWithin(1000);
  clock->advance(std::chrono::milliseconds(300));
  http->reply(200, renewed);
  queue->runDue();
  EXPECT_EQ(http->requests().back().deadline, std::chrono::milliseconds(700));
  http->reply(200, R"({"code":1,"data":7})");
  EXPECT_EQ(answer(), "7");

  results.clear();
  callWithin(100);
  queue->advance(std::chrono::milliseconds(100));
  EXPECT_EQ(answer(),
            "unknown: no answer within the deadline of 100 ms: the session had to be renewed");
  http->reply(200, renewed);
  queue->runDue();
  EXPECT_EQ(session->refresh, "refresh-2") << "the tokens are kept";
}

TEST_F(ApiService, MayBeCalledAgainAndDestroyedFromInsideACompletion) {
  http->reply(200, R"({"code":1,"data":1})");
  http->reply(200, R"({"code":1,"data":2})");
  api->request<std::int64_t>("u", ZVHTTPMethod::post, {}, ZVParameterEncoding::json, 0, {}, false,
                             Level::none, [this](auto) {
                               call();
                               api.reset();
                             });
  queue->runDue();
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].error().type, ZVAPIErrorType::noConnection);
}

}  // namespace
}  // namespace zavelo

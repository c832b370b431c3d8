#include "tests/e2e/app.hpp"

#include "zavelo/core/notifications.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/platform/jpeg.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"

namespace zavelo::test {
namespace {

// The environment is chosen once a process, while each test has a server of its own.
constexpr std::string_view anyBackend = "http://backend.test";

}  // namespace

class App::Routed final : public HttpSession {
 public:
  Routed(std::string backend, const CurlHttpOptions& options)
      : backend_(std::move(backend)), session_(options) {}

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) override {
    if (request.url.starts_with(anyBackend)) request.url.replace(0, anyBackend.size(), backend_);
    return session_.send(std::move(request), std::move(done));
  }

 private:
  const std::string backend_;
  CurlHttpSession session_;
};

App::App(const std::string& backend, const std::filesystem::path& store, CurlHttpOptions options)
    : http_(std::make_shared<Routed>(backend, options)) {
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({std::string(anyBackend)}), true);
  for (const auto name : {ZaveloBanned, ZaveloDidLogInAnotherDevice, ZaveloDidRefreshTokenFailed})
    tokens_.push_back(notifications_->addObserver(std::string(name), [this](const auto& posted) {
      EXPECT_EQ(std::this_thread::get_id(), mainThread_);
      heard.emplace_back(posted.name);
    }));
  api = ZVAPIService::create({http_, queue, notifications_, platform::clock()});
  user = ZVUserService::create(
      {api, std::make_shared<SqliteKeyValueStore>(store), std::make_shared<TurboJpegEncoder>()});
}

void App::waitForAnswers(std::size_t count) {
  while (answers.size() < count) queue->run();
}

AppAnswer App::call(const std::string& url) {
  const auto before = answers.size();
  api->request<std::shared_ptr<ZVSearchUser>>(
      url, ZVHTTPMethod::post, json::Object{{"limit", 5}}, ZVParameterEncoding::json, 0, {}, false,
      ZVAPIService::APILogLevel::simple, answered<std::shared_ptr<ZVSearchUser>>());
  waitForAnswers(before + 1);
  return answers.back();
}

AppAnswer App::searchToItsEnd() {
  const auto before = answers.size();
  search();
  waitForAnswers(before + 1);
  return answers.back();
}

AppAnswer App::signIn(const std::string& zaveloId) {
  const auto before = answers.size();
  user->loginZavelo(zaveloId, "", "d1", 10, 106.7, answered<std::shared_ptr<ZVUser>>());
  waitForAnswers(before + 1);
  return answers.back();
}

void App::record(AppAnswer answer) {
  EXPECT_EQ(std::this_thread::get_id(), mainThread_);
  answers.push_back(std::move(answer));
  queue->stop();
}

}  // namespace zavelo::test

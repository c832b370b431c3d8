#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/recorded_log.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/services/user_service.hpp"

namespace zavelo::test {

struct AppAnswer {
  bool ok = false;
  ZVAPIError error;
};

/// The library as an app runs it: sockets, main queue and store file are the real ones. The main
/// queue runs on the thread that waits.
class App {
 public:
  App(const std::string& backend, const std::filesystem::path& store, CurlHttpOptions http = {});

  /// Keeps the answer, and checks where it arrives.
  template <class T>
  [[nodiscard]] ZVCompletion<T> answered() {
    return [this, isFirst = true](const ZVAPIResult<T>& result) mutable {
      EXPECT_TRUE(std::exchange(isFirst, false)) << "answered twice";
      record({result.isOk(), result.isOk() ? ZVAPIError{} : result.error()});
    };
  }
  /// Runs the main queue until so many calls were answered.
  void waitForAnswers(std::size_t count);

  /// One call by URL, to its end.
  AppAnswer call(const std::string& url);
  ZVCall search() {
    return user->searchForUser("", 0, 5, answered<std::shared_ptr<ZVSearchUser>>());
  }
  AppAnswer searchToItsEnd();
  /// Signs in or joins; to its end.
  AppAnswer signIn(const std::string& zaveloId);

  const std::shared_ptr<MainQueue> queue = std::make_shared<MainQueue>();
  std::shared_ptr<ZVAPIService> api;
  std::shared_ptr<ZVUserService> user;
  std::vector<AppAnswer> answers;
  std::vector<std::string> heard;  ///< notifications, in order

 private:
  const std::shared_ptr<testing::RecordedLog> log_ = testing::RecordedLog::install();
  class Routed;
  void record(AppAnswer answer);

  std::shared_ptr<Routed> http_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  const std::shared_ptr<NotificationCentre> notifications_ = std::make_shared<NotificationCentre>();
  std::vector<ObserverToken> tokens_;
};

}  // namespace zavelo::test

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>

#include "bench/repeat.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/jpeg.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"
#include "zavelo/services/user_service.hpp"

// What the library does at an app's start until the app knows who is signed in: its own part, with
// the system's libraries loaded and no network.

namespace zavelo::bench {
namespace {

/// A store with a session and so many banned words, removed in the end.
class StoreOnDisk {
 public:
  explicit StoreOnDisk(std::size_t words)
      : folder_(std::filesystem::temp_directory_path() /
                ("zavelo-bench-" + std::to_string(getpid()) + "-" + std::to_string(words))) {
    const auto user = std::make_shared<ZVUser>();
    user->accessToken = "an access token";
    user->refreshToken = "a refresh token";
    user->userInfo = std::make_shared<ZVUserInfo>();
    user->userInfo->userName = "ann";
    std::vector<std::string> banned;
    for (std::size_t i = 0; i < words; ++i) banned.push_back("banned word " + std::to_string(i));
    const auto service = start();
    service->setUser(user);
    service->saveNaughtyWords(std::move(banned));
  }
  ~StoreOnDisk() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  StoreOnDisk(const StoreOnDisk&) = delete;
  StoreOnDisk& operator=(const StoreOnDisk&) = delete;

  [[nodiscard]] std::shared_ptr<ZVUserService> start() const {
    const auto queue = std::make_shared<MainQueue>();
    return ZVUserService::create(
        {ZVAPIService::create({std::make_shared<CurlHttpSession>(), queue,
                               std::make_shared<NotificationCentre>(), platform::clock()}),
         std::make_shared<SqliteKeyValueStore>(folder_ / "store.sqlite"),
         std::make_shared<TurboJpegEncoder>()});
  }

 private:
  const std::filesystem::path folder_;
};

const bool registered = [] {
  static const StoreOnDisk stores[] = {StoreOnDisk(0), StoreOnDisk(10'000)};
  for (const StoreOnDisk& store : stores) {
    const std::string name = std::string("start to a restored session/ZaveloCore") +
                             (&store == stores ? "" : ", 10,000 banned words");
    benchmark::RegisterBenchmark(name.c_str(), [name, &store](benchmark::State& state) {
      repeat(state, name, [&store] {
        if (!store.start()->isLogin()) std::abort();
      });
    });
  }
  return true;
}();

}  // namespace
}  // namespace zavelo::bench

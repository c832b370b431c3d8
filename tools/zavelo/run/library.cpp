#include "tools/zavelo/run/library.hpp"

#include <cstdio>
#include <utility>

#include "zavelo/core/sdk.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"
#include "zavelo/services/user_service.hpp"

namespace zavelo::command {

Library Library::start(const GlobalOptions& options, const Output& output) {
  Library library;
  library.store = std::make_shared<WatchedStore>(std::make_unique<SqliteKeyValueStore>(
      options.store.empty() ? SqliteKeyValueStore::defaultFile()
                            : std::filesystem::path(options.store),
      [output](const std::filesystem::path& keptAs) {
        output.warning("the store was damaged; it is kept as " + keptAs.string());
      }));
  ZVPlatform platform;
  platform.mainQueue = library.queue;
  platform.store = library.store;
  platform.logSink = std::make_shared<StreamLogSink>(stderr);
  static_cast<void>(ZVPlatform::install(std::move(platform)));

  ZaveloSDK::shared().initWith(
      options.api.empty() ? ZVEnvironment::demo() : ZVEnvironment::custom({options.api}),
      options.log != ZVAPIService::APILogLevel::none, options.appId);
  ZVAPIService::sharedInstance()->setServiceLogLevel(options.log);
  static_cast<void>(ZVUserService::shared());  // reads the store
  return library;
}

}  // namespace zavelo::command

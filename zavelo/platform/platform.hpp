#pragma once

#include <memory>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/http_session.hpp"
#include "zavelo/platform/image.hpp"
#include "zavelo/platform/key_value_store.hpp"
#include "zavelo/platform/log_sink.hpp"
#include "zavelo/platform/notification_centre.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// What the host supplies to the shared services. What it leaves empty is the default; each default
/// comes into being when it is first needed.
///
///     ZVPlatform platform;
///     platform.store = std::make_shared<SqliteKeyValueStore>(appFolder / "session.sqlite");
///     ZVPlatform::install(std::move(platform));   // before anything else of the library
struct ZAVELO_EXPORT ZVPlatform {
  std::shared_ptr<HttpSession> httpSession = {};
  std::shared_ptr<Queue> mainQueue = {};
  std::shared_ptr<Queue> backgroundQueue = {};
  std::shared_ptr<KeyValueStore> store = {};
  std::shared_ptr<NotificationCentre> notifications = {};
  std::shared_ptr<JpegEncoder> jpegEncoder = {};
  std::shared_ptr<LogSink> logSink = {};
  std::shared_ptr<Clock> clock = {};

  /// False, and nothing is changed, once the library has used its platform or one was installed.
  [[nodiscard]] static bool install(ZVPlatform platform);
};

/// The installed platform part by part, with the defaults where the host left one out. Any thread.
namespace platform {
ZAVELO_EXPORT const std::shared_ptr<HttpSession>& httpSession();
ZAVELO_EXPORT const std::shared_ptr<Queue>& mainQueue();
ZAVELO_EXPORT const std::shared_ptr<Queue>& backgroundQueue();
ZAVELO_EXPORT const std::shared_ptr<KeyValueStore>& store();
ZAVELO_EXPORT const std::shared_ptr<NotificationCentre>& notifications();
ZAVELO_EXPORT const std::shared_ptr<JpegEncoder>& jpegEncoder();
ZAVELO_EXPORT const std::shared_ptr<LogSink>& logSink();
ZAVELO_EXPORT const std::shared_ptr<Clock>& clock();
/// Hands an entry to the log sink: later, while a shared service is being made on this thread.
ZAVELO_EXPORT void writeLog(std::string entry);
}  // namespace platform

namespace detail {
struct PlatformState;
/// See `exchangeProcessState`.
PlatformState* exchangePlatform(PlatformState* next);
void destroy(PlatformState* state);
}  // namespace detail

}  // namespace zavelo

#include "zavelo/platform/platform.hpp"

#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "zavelo/base/process_wide.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/deferred_calls.hpp"
#include "zavelo/platform/jpeg.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"

namespace zavelo {

struct detail::PlatformState {
  std::mutex mutex;
  bool settled = false;  ///< installed or used: it cannot change any more
  ZVPlatform parts;
};

namespace {

using detail::PlatformState;

constinit ProcessWide<PlatformState> shared;

/// The part that the host supplied or, from its first use on, the default.
template <class Interface, class MakeDefault>
const std::shared_ptr<Interface>& part(std::shared_ptr<Interface> ZVPlatform::*member,
                                       const MakeDefault& makeDefault) {
  PlatformState& platform = *shared;
  auto& slot = platform.parts.*member;
  {
    const std::lock_guard lock(platform.mutex);
    platform.settled = true;
    if (slot) return slot;
  }
  // Made without the lock: a part may need another one. Of two threads the first one wins.
  std::shared_ptr<Interface> made = makeDefault();
  const std::lock_guard lock(platform.mutex);
  if (!slot) slot.swap(made);
  return slot;
}

SqliteKeyValueStore::SetAsideHandler reportSetAside() {
  return [](const std::filesystem::path& keptAs) {
    platform::writeLog("The store could not be read. It was kept as " + keptAs.string() +
                       " and a new one was begun.");
  };
}

/// Without exceptions, as whatever runs at exit.
void flushStoreAtExit() noexcept {
  static const bool registered = std::atexit([] {
                                   std::shared_ptr<KeyValueStore> store;
                                   {
                                     const std::lock_guard lock(shared->mutex);
                                     store = shared->parts.store;
                                   }
                                   if (store) static_cast<void>(store->flush());
                                 }) == 0;
  static_cast<void>(registered);
}

}  // namespace

bool ZVPlatform::install(ZVPlatform platform) {
  PlatformState& current = *shared;
  const std::lock_guard lock(current.mutex);
  if (current.settled) return false;
  current.settled = true;
  current.parts = std::move(platform);
  return true;
}

detail::PlatformState* detail::exchangePlatform(PlatformState* next) {
  return shared.exchange(next);
}

void detail::destroy(PlatformState* state) {
  delete state;
}

namespace platform {

const std::shared_ptr<HttpSession>& httpSession() {
  return part(&ZVPlatform::httpSession, [] { return std::make_shared<CurlHttpSession>(); });
}

const std::shared_ptr<Queue>& mainQueue() {
  return part(&ZVPlatform::mainQueue, &MainQueue::shared);
}

const std::shared_ptr<Queue>& backgroundQueue() {
  return part(&ZVPlatform::backgroundQueue, [] { return std::make_shared<BackgroundQueue>(); });
}

const std::shared_ptr<KeyValueStore>& store() {
  flushStoreAtExit();
  return part(&ZVPlatform::store, [] {
    return std::make_shared<SqliteKeyValueStore>(SqliteKeyValueStore::defaultFile(),
                                                 reportSetAside());
  });
}

const std::shared_ptr<NotificationCentre>& notifications() {
  return part(&ZVPlatform::notifications, [] { return std::make_shared<NotificationCentre>(); });
}

const std::shared_ptr<JpegEncoder>& jpegEncoder() {
  return part(&ZVPlatform::jpegEncoder, [] { return std::make_shared<TurboJpegEncoder>(); });
}

const std::shared_ptr<LogSink>& logSink() {
  return part(&ZVPlatform::logSink, [] { return std::make_shared<StreamLogSink>(); });
}

void writeLog(std::string entry) {
  DeferredCalls::run([sink = logSink(), entry = std::move(entry)] { sink->write(entry); });
}

const std::shared_ptr<Clock>& clock() {
  return part(&ZVPlatform::clock, [] { return std::make_shared<SystemClock>(); });
}

}  // namespace platform

}  // namespace zavelo

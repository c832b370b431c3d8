// What the tests of this room let another process do: `child MODE ARGUMENT...`.

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"

namespace {

using namespace zavelo;

std::atomic<int> answered{0};

void send(const std::string& url) {
  HttpRequest request;
  request.url = url;
  platform::httpSession()->send(std::move(request), [](HttpReply) { ++answered; });
}

/// Leaves with 20 calls to a server that does not answer; `inHandler` leaves from the session's own
/// thread.
int exitInFlight(const std::string& url, bool inHandler) {
  // Registered first, so it runs after the session has ended its calls.
  std::atexit([] {
    const int before = answered;
    send("http://127.0.0.1/");
    std::printf("%d answered, then %d more\n", before, answered - before);
  });
  for (int i = 0; i < 20; ++i) send(url);
  if (!inHandler) return 0;
  HttpRequest malformed;
  platform::httpSession()->send(std::move(malformed), [](HttpReply) { std::exit(0); });
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

/// Writes a list whose items must agree, over and over, and says what was acknowledged.
int writeForever(SqliteKeyValueStore& store) {
  for (int i = 1;; ++i) {
    const std::string text(static_cast<std::size_t>(i % 97) * 100, static_cast<char>('a' + i % 26));
    const std::vector<StoreScalar> list{static_cast<double>(i), text, text};
    if (!store.set("session", list)) return 1;
    std::printf("%d\n", i);
    std::fflush(stdout);
  }
}

int writeMany(SqliteKeyValueStore& store, const std::string& prefix, int count) {
  for (int i = 0; i < count; ++i) {
    const auto done = store.set(prefix + std::to_string(i), StoreScalar(double(i)));
    if (!done) return std::printf("%s\n", done.error().description.c_str());
  }
  return 0;
}

int readAndWrite(SqliteKeyValueStore& store) {
  const auto value = store.get("name");
  std::printf("%s\n", !value ? value.error().description.c_str() : *value ? "read" : "absent");
  const auto written = store.set("name", StoreScalar(true));
  std::printf("%s\n", written ? "written" : written.error().description.c_str());
  const auto removed = store.remove("absent");
  std::printf("%s\n", removed ? "removed" : removed.error().description.c_str());
  return 0;
}

uid_t userIn(const char* text) {
  return static_cast<uid_t>(std::stoul(text));
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const std::string_view mode = arguments[1];
  const std::string subject = arguments[2];
  if (mode == "exit-in-flight") return exitInFlight(subject, false);
  if (mode == "exit-in-handler") return exitInFlight(subject, true);
  // Given up here: where this program and the library stand may be closed to that user.
  if (mode == "read-and-write" && (count != 4 || setuid(userIn(arguments[3])) != 0)) return 2;
  SqliteKeyValueStore store(subject);
  if (mode == "write-forever") return writeForever(store);
  if (mode == "write-many" && count == 4) return writeMany(store, arguments[3], 100);
  if (mode == "read-and-write") return readAndWrite(store);
  return 2;
}

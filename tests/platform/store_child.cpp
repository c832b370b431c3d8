// What the tests of the store and the queues let another process do: `store_child MODE
// ARGUMENT...`.

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <string_view>
#include <thread>

#include "zavelo/messaging/engines/in_process.hpp"
#include "zavelo/messaging/recorded_chat.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace {

using namespace zavelo;

/// Writes a list whose items must agree, over and over, removes it each tenth time, and prints what
/// was acknowledged.
int writeForever(SqliteKeyValueStore& store, int first) {
  for (int i = first;; ++i) {
    const std::string text(static_cast<std::size_t>(i % 97) * 100, static_cast<char>('a' + i % 26));
    const std::vector<StoreScalar> list{static_cast<double>(i), text, text};
    const auto done = i % 10 == 0 ? store.remove("session") : store.set("session", list);
    if (!done) return 1;
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

void report(const char* done, const Status<StoreError>& status) {
  std::printf("%s\n", status ? done : status.error().description.c_str());
}

void reportPending(const KeyValueStore& store) {
  const auto problem = store.pendingProblem();
  std::printf("%s\n", problem ? problem->description.c_str() : "none pending");
}

/// Prints the size of a text or of a list.
void reportSize(KeyValueStore& store, const char* key) {
  const auto value = store.get(key);
  if (!value) return report("", Failure{value.error()});
  if (!*value) return std::puts("absent"), void();
  const auto* list = std::get_if<std::vector<StoreScalar>>(&**value);
  const auto size =
      list ? list->size() : std::get<std::string>(std::get<StoreScalar>(**value)).size();
  std::printf("%zu\n", size);
}

int readAndWrite(SqliteKeyValueStore& store) {
  reportSize(store, "name");
  report("written", store.set("name", StoreScalar(std::string("other"))));
  report("removed", store.remove("absent"));
  reportSize(store, "name");
  reportPending(store);
  return 0;
}

/// Mounts an empty disk of 400 KB and `files` files on the folder, for this process alone.
bool mountSmallDisk(const std::string& folder, int files) {
  const auto options = "size=400k,nr_inodes=" + std::to_string(files + 1);
  return unshare(getuid() == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("small", folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

/// Signs in, has another user sign in, and signs out, on a disk that becomes full: `files` says
/// whether a journal file could be created.
int useFullDisk(const std::string& folder, int files) {
  if (!mountSmallDisk(folder, files)) return std::puts("no mount"), 0;
  const std::string file = folder + "/store.sqlite";
  const auto text = [](std::size_t size) { return StoreScalar(std::string(size, 't')); };
  const auto words = [&](std::size_t size) { return std::vector<StoreScalar>(size, text(20)); };
  {
    SqliteKeyValueStore store(file);
    report("signed in", store.set("session", text(2000)));
    report("words", store.set("words", words(1000)));
  }
  const std::string filler = folder + "/filler";
  for (std::ofstream rest(filler); rest.put('x').flush();) {
  }
  {
    SqliteKeyValueStore store(file);
    report("another signed in", store.set("session", text(20000)));
  }
  reportSize(*std::make_unique<SqliteKeyValueStore>(file), "session");
  report("signed out", SqliteKeyValueStore(file).remove("session"));
  SqliteKeyValueStore store(file);
  reportSize(store, "session");
  report("more words", store.set("words", words(9000)));
  reportPending(store);
  reportSize(store, "words");
  reportSize(*std::make_unique<SqliteKeyValueStore>(file), "words");
  std::remove(filler.c_str());
  reportSize(store, "session");
  reportPending(store);
  reportSize(*std::make_unique<SqliteKeyValueStore>(file), "words");
  return 0;
}

/// Ends with a sign-out that was refused, once the file `go` is there.
int exitWithPending(const std::string& file, const std::filesystem::path& go) {
  ZVPlatform parts;
  parts.store = std::make_shared<SqliteKeyValueStore>(file);
  if (!ZVPlatform::install(std::move(parts))) return 2;
  report("removed", platform::store()->remove("session"));
  std::fflush(stdout);
  while (!std::filesystem::exists(go)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return 0;
}

/// What needs a thread, without and with one.
int workWithoutThreads() {
  rlimit limit{};
  getrlimit(RLIMIT_NPROC, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NPROC, &none);

  const auto main = std::make_shared<MainQueue>();
  const auto background = std::make_shared<BackgroundQueue>();
  const ZaveloRecordedMessageDownloader downloader(
      "/dev/null", {std::make_shared<testing::ScriptedHttpSession>(), main, background});
  downloader.load([](auto loaded) { std::puts(loaded ? "loaded" : loaded.error().c_str()); });
  const auto kit = InProcessHub::create()->kitFactory()("app", {});
  kit->login({}, "7", [](auto code) { std::printf("login: %d\n", static_cast<int>(code)); });
  kit->createChannel("c", {})->getMembers(
      [](auto members) { std::puts(members ? "members" : "no members"); });
  std::printf("%zu on the main queue\n", main->poll());

  std::promise<void> ran;
  main->setExecutor([](QueueTask task) { task(); });
  main->postAfter(std::chrono::milliseconds(1), [&] { ran.set_value(); });
  setrlimit(RLIMIT_NPROC, &limit);
  main->post([] {});
  ran.get_future().wait();
  std::promise<void> ranToo;
  background->post([&] { ranToo.set_value(); });
  ranToo.get_future().wait();
  std::puts("with threads again");
  return 0;
}

/// Uses queues and a store before and after a fork.
int forkInUse(const std::string& file) {
  SqliteKeyValueStore store(file);
  BackgroundQueue background;
  MainQueue main;
  main.setExecutor([](QueueTask task) { task(); });
  const auto useAll = [&](const char* name) {
    for (const auto after : {0, 1}) {
      std::promise<void> ran;
      auto& queue = after ? static_cast<Queue&>(main) : background;
      queue.postAfter(std::chrono::milliseconds(after), [&] { ran.set_value(); });
      ran.get_future().wait();
    }
    report(name, store.set(name, StoreScalar(true)));
    std::fflush(stdout);
  };
  useAll("parent");
  if (const pid_t child = fork(); child == 0) {
    useAll("child");
  } else {
    int status = 0;
    waitpid(child, &status, 0);
    useAll("parent again");
  }
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
  // Given up here: where this program and the library stand may be closed to that user.
  if (mode == "read-and-write" && (count != 4 || setuid(userIn(arguments[3])) != 0)) return 2;
  if (mode == "no-threads") return setuid(userIn(arguments[2])) == 0 ? workWithoutThreads() : 2;
  if (mode == "fork") return forkInUse(subject);
  if (mode == "full-disk" && count == 4) return useFullDisk(subject, std::stoi(arguments[3]));
  if (mode == "exit-with-pending" && count == 4) return exitWithPending(subject, arguments[3]);
  SqliteKeyValueStore store(subject);
  if (mode == "write-forever") return writeForever(store, std::stoi(arguments[3]));
  if (mode == "write-many" && count == 4) return writeMany(store, arguments[3], 100);
  if (mode == "read-and-write") return readAndWrite(store);
  return 2;
}

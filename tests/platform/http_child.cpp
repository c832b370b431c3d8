// What the tests of the HTTP session let another process do: `http_child MODE URL...`.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/platform.hpp"

namespace {

/// How many allocations of this thread succeed until one fails; negative: all.
thread_local int allocationsLeft = -1;

}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

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

const char* kindName(HttpFailure::Kind kind) {
  if (kind == HttpFailure::Kind::noResources) return "noResources";
  return kind == HttpFailure::Kind::unreachable ? "unreachable" : "other";
}

std::string outcome(HttpSession& session, const std::string& url) {
  HttpRequest request;
  request.url = url;
  std::promise<HttpReply> answer;
  session.send(std::move(request), [&](HttpReply reply) { answer.set_value(std::move(reply)); });
  const HttpReply reply = answer.get_future().get();
  if (!reply.failure) return "status " + std::to_string(*reply.status);
  return std::string(kindName(reply.failure->kind)) + ": " + reply.failure->description;
}

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/// Lowers a limit while it lives.
class Limit {
 public:
  Limit(decltype(RLIMIT_NOFILE) resource, rlim_t value) : resource_(resource) {
    getrlimit(resource, &before_);
    rlimit limit = before_;
    limit.rlim_cur = value;
    setrlimit(resource, &limit);
  }
  ~Limit() { setrlimit(resource_, &before_); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  const decltype(RLIMIT_NOFILE) resource_;
  rlimit before_{};
};

int goWithout(std::string_view mode, const std::string& url) {
  const bool thread = mode.starts_with("no-thread");
  // Root may have as many threads as it likes.
  if (thread && geteuid() == 0 && setuid(65534) != 0) return 3;
  CurlHttpSession session;
  const bool atStart = mode == "no-thread" || mode == "no-descriptor-at-start";
  if (!atStart) outcome(session, "http://127.0.0.1:1/");
  {
    const bool lookup = mode.ends_with("lookup");
    const Limit limit(thread ? RLIMIT_NPROC : RLIMIT_NOFILE, 0);
    say(outcome(session, lookup ? "http://name.invalid/" : url));
  }
  say(outcome(session, url));
  return 0;
}

int runOutOfMemory(const std::string& url) {
  for (int allowed = 0;; ++allowed) {
    CurlHttpSession session;
    outcome(session, url);
    HttpRequest request;
    request.url = url;
    std::promise<void> first;
    std::atomic<int> count{0};
    HttpReplyHandler done([&](HttpReply) {
      allocationsLeft = -1;
      if (++count == 1) first.set_value();
    });
    allocationsLeft = allowed;
    session.send(std::move(request), std::move(done));
    const bool enough = std::exchange(allocationsLeft, -1) > 0;
    first.get_future().wait();
    if (count != 1) return 1;
    if (enough && allowed < 2) return 1;  // the library does not use our allocator
    if (enough) break;
  }
  say("each answered once");
  return 0;
}

/// The descriptors that a program would inherit that starts now.
std::set<std::string> inheritable() {
  std::set<std::string> all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
    std::error_code closed;
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0)
      all.insert(entry.path().filename().string() + " " +
                 std::filesystem::read_symlink(entry, closed).string());
  }
  return all;
}

/// What the library has open beside that while calls, one of them to a named host, are under way.
int listDescriptors(const std::string& url) {
  const auto before = inheritable();
  CurlHttpSession session;
  const auto port = url.substr(url.find(':', 6));
  for (const auto& each : {"http://localhost" + port, url}) {
    HttpRequest request;
    request.url = each;
    session.send(std::move(request), [](HttpReply) {});
  }
  outcome(session, "http://127.0.0.1:1/");
  for (const auto& each : inheritable())
    if (!before.contains(each)) say(each);
  say("no more");
  return 0;
}

/// Children call while other threads of the parent hold the session's locks.
int forkAndCall(const std::string& url) {
  CurlHttpSession session;
  std::atomic<bool> ending{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i)
    threads.emplace_back([&] {
      while (!ending) outcome(session, url);
    });
  int completed = 0;
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      _exit(outcome(session, url) == "status 200" ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    completed += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
  }
  ending = true;
  for (auto& thread : threads) thread.join();
  say(std::to_string(completed) + " children answered");
  return outcome(session, url) == "status 200" ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const std::string_view mode = arguments[1];
  const std::string subject = arguments[2];
  if (mode == "exit-in-flight") return exitInFlight(subject, false);
  if (mode.starts_with("no-memory")) return runOutOfMemory(subject);
  if (mode.starts_with("no-")) return goWithout(mode, subject);
  if (mode == "list-descriptors") return listDescriptors(subject);
  if (mode == "fork") return forkAndCall(subject);
  if (mode == "through-proxy" && count == 4) {
    setenv(subject.starts_with("https") ? "https_proxy" : "http_proxy", arguments[3], 1);
    CurlHttpSession session;
    say(outcome(session, subject));
    return 0;
  }
  if (mode == "exit-in-handler") return exitInFlight(subject, true);
  return 2;
}

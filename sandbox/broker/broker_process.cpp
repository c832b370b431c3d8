#include "sandbox/broker/broker_process.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>
#include <thread>
#include <utility>

extern char** environ;

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

/// Becomes the broker ($1, with the configuration in the folder $2). A shell stays beside it, sees
/// the other end of the lifeline (file 3) close, and ends the broker and its folder.
constexpr const char* script = R"(
(trap '' INT TERM HUP; read -r _ <&3; kill -KILL $$; rm -rf "$2") >/dev/null 2>&1 &
exec "$1" -c "$2/broker.conf" 3<&- >"$2/broker.log" 2>&1
)";

/// Debian keeps it where only an administrator's PATH leads.
std::filesystem::path findBroker() {
  const char* path = std::getenv("PATH");
  std::string_view folders = path ? path : "";
  std::string all = std::string(folders) + ":/usr/sbin:/usr/local/sbin";
  for (std::size_t from = 0; from < all.size();) {
    const auto colon = std::min(all.find(':', from), all.size());
    const auto file = std::filesystem::path(all.substr(from, colon - from)) / "mosquitto";
    if (file.is_absolute() && access(file.c_str(), X_OK) == 0) return file;
    from = colon + 1;
  }
  return {};
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

class Socket {
 public:
  Socket() : file_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket() { close(file_); }

  /// The port that is ours now; none when it is another's.
  Result<std::uint16_t, std::string> take(std::uint16_t port) {
    const int on = 1;
    setsockopt(file_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    auto address = loopback(port);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(file_, plain, size) != 0 || getsockname(file_, plain, &size) != 0)
      return Failure{"port " + std::to_string(port) + " for the broker: " + std::strerror(errno)};
    return ntohs(address.sin_port);
  }
  bool reaches(std::uint16_t port) {
    const auto address = loopback(port);
    return connect(file_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

 private:
  const int file_;
};

std::string accessList(const std::string& master) {
  std::string list = R"(pattern read rt1/+/u/%u/#
pattern write rt1/+/u/%u/s
pattern write rt1/+/u/+/i/%u
pattern read rt1/+/c/#
pattern write rt1/+/c/+/m/%u
pattern write rt1/+/c/+/p/+/%u/+
pattern write rt1/+/c/+/f/%u/+
)";
  if (!master.empty()) list += "\nuser " + master + "\ntopic readwrite #\n";
  return list;
}

void writeConfiguration(const std::filesystem::path& folder, std::uint16_t port,
                        const BrokerOptions& options) {
  const auto aclFile = folder / "access.acl";
  std::ofstream(aclFile) << accessList(options.master);
  std::ofstream file(folder / "broker.conf");
  // Nothing is kept on disk: presence that outlived the broker would belong to no one. No queue is
  // bounded in number, because a retained list comes at once.
  file << "listener " << port << " 127.0.0.1\n"
       << "allow_anonymous true\n"
          "persistence false\n"
          "max_inflight_messages 1000\n"
          "max_queued_messages 0\n"
          "set_tcp_nodelay true\n"
          "log_dest stderr\n"
          "log_type error\n"
       << "acl_file " << aclFile.string() << '\n';
  // As root it would change into a user who cannot read these files.
  if (geteuid() == 0) file << "user root\n";
  for (const auto& line : options.settings) file << line << '\n';
}

std::string lastLine(const std::filesystem::path& file) {
  std::ifstream lines(file);
  std::string last, line;
  while (std::getline(lines, line)) last = line;
  return last;
}

}  // namespace

Result<std::unique_ptr<BrokerProcess>, std::string> BrokerProcess::start(
    const BrokerOptions& options) {
  const auto program = findBroker();
  if (program.empty())
    return Failure{std::string("mosquitto, the message broker, is not installed")};
  std::unique_ptr<BrokerProcess> broker(new BrokerProcess);
  {
    Socket socket;
    const auto port = socket.take(options.port);
    if (!port) return Failure{port.error()};
    broker->port_ = *port;
  }
  std::error_code error;
  auto pattern = (std::filesystem::temp_directory_path(error) / "zavelo-broker-XXXXXX").string();
  if (!mkdtemp(pattern.data()))
    return Failure{"no folder for the broker: " + std::string(std::strerror(errno))};
  broker->folder_ = pattern;
  writeConfiguration(broker->folder_, broker->port_, options);
  if (auto spawned = broker->spawn(program); !spawned) return Failure{spawned.error()};
  if (auto listens = broker->waitUntilItListens(); !listens) return Failure{listens.error()};
  return broker;
}

Status<std::string> BrokerProcess::spawn(const std::filesystem::path& program) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0)
    return Failure{"the broker cannot start: " + std::string(std::strerror(errno))};
  lifeline_ = ends[1];

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[0], 3);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // Of a group of its own: what a terminal interrupts is this process, which ends its broker.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);

  std::array<std::string, 6> words{"sh", "-c", script, "sh", program.string(), folder_.string()};
  std::array<char*, 7> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  const int failed =
      posix_spawn(&process_, "/bin/sh", &actions, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(ends[0]);
  if (failed == 0) return noFailure;
  process_ = -1;
  return Failure{"the broker cannot start: " + std::string(std::strerror(failed))};
}

Status<std::string> BrokerProcess::waitUntilItListens() {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (std::chrono::steady_clock::now() < deadline) {
    if (!runs()) return Failure{"the broker did not start: " + lastLine(folder_ / "broker.log")};
    if (Socket().reaches(port_)) return noFailure;
    std::this_thread::sleep_for(5ms);
  }
  return Failure{std::string("the broker does not answer")};
}

bool BrokerProcess::runs() const {
  siginfo_t state{};
  // Leaves it to be reaped: until then no other process gets its number.
  return process_ > 0 &&
         waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         state.si_pid == 0;
}

BrokerProcess::~BrokerProcess() {
  if (process_ > 0) {
    kill(process_, SIGTERM);
    kill(process_, SIGCONT);
    for (int i = 0; i < 200 && runs(); ++i) std::this_thread::sleep_for(5ms);
    kill(process_, SIGKILL);
  }
  if (lifeline_ >= 0) close(lifeline_);
  if (process_ > 0) waitpid(process_, nullptr, 0);
  std::error_code ignored;
  if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

}  // namespace zavelo::sandbox

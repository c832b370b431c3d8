#include <filesystem>

#include "sandbox/sandbox.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/sandbox_state.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/platform/main_queue.hpp"

namespace zavelo::command {
namespace {

std::filesystem::path stateOf(const SandboxRequest& request) {
  return request.isEphemeral ? std::filesystem::path() : sandboxState(request.state);
}

constexpr std::uint16_t usualBrokerPort = 1883;

std::optional<std::uint16_t> brokerPortOf(const SandboxRequest& request) {
  if (!request.hasBroker) return {};
  if (request.brokerPort) return request.brokerPort;
  return request.port == 0 ? std::uint16_t{0} : usualBrokerPort;
}

ExitStatus announce(const sandbox::Sandbox& sandbox, const std::filesystem::path& state,
                    const Output& output) {
  const std::string where = state.empty() ? "in memory only" : state.string();
  const auto rtmUrl = sandbox.rtmUrl();
  const auto line = json::encode(
      json::Value(json::Object{{"url", sandbox.url()},
                               {"port", sandbox.port()},
                               {"rtmUrl", rtmUrl ? json::Value(*rtmUrl) : json::Value()},
                               {"state", state.empty() ? json::Value() : json::Value(where)}}));
  return output.result(line ? line.value() : "{}",
                       "The sandbox listens on " + sandbox.url() +
                           ", where a browser shows what goes on\nMessages go through " +
                           rtmUrl.value_or("no broker") + "\nIts state is " + where +
                           "\nTry: zavelo --api " + sandbox.url() +
                           " user login-guest\nCtrl-C ends it\n");
}

}  // namespace

int runSandbox(const SandboxRequest& request, const Output& output) {
  const auto state = stateOf(request);
  if (!state.empty() && state.has_parent_path()) {
    std::error_code error;
    std::filesystem::create_directories(state.parent_path(), error);
    if (error)
      return output.error("sandbox",
                          "cannot make " + state.parent_path().string() + ": " + error.message());
  }
  const auto sandbox = sandbox::Sandbox::start({.port = request.port,
                                                .state = state,
                                                .seed = request.seed.value_or(""),
                                                .faults = request.faults.value_or(""),
                                                .brokerPort = brokerPortOf(request)});
  if (!sandbox) return output.error("sandbox", sandbox.error());
  // Not before: while a large seed is loaded, the signal ends the process at once.
  const auto stopped = std::make_shared<MainQueue>();
  const OnSignal stopping([stopped] { stopped->stop(); });
  const auto status = announce(**sandbox, state, output);
  if (status == succeeded) stopped->run();
  (*sandbox)->stop();
  return status;
}

}  // namespace zavelo::command
